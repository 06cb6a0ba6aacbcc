#pragma once

#include <memory>

#include "display/x11_display.h"
#include "events/pid_watch.h"
#include "screensaver/saver.h"

/// The X server's own screensaver and idle time, and xscreensaver, which shows its state on the root window.
class X11Saver : public Saver {
public:
    X11Saver(GMainContext* context, Observer observer);
    std::string Name() const override { return "the X server"; }
    bool IsOn() const override { return isServerBlanked_ || isProgramBlanked_; }
    bool CanBeReset() const override { return display_.IsUp(); }
    void Reset() override;

private:
    void OnUp();
    void OnEvent(const xcb_generic_event_t& event);
    void OnDown();
    void ListenToServer();
    void ReadProgramState();
    void SetServerState(int state);
    void ResetProgram();

    GMainContext* const context_;
    const Observer observer_;
    bool isServerBlanked_ = false;
    bool isProgramThere_ = false;
    bool isProgramBlanked_ = false;
    int noticeType_ = -1;  ///< of the server's screensaver events; -1 without the extension
    std::unique_ptr<PidWatch> command_;
    X11Display display_;
};
