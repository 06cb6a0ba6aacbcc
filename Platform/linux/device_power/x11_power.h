#pragma once

#include <functional>

#include "device_power/display_power.h"
#include "display/x11_display.h"
#include "events/context_source.h"

/// The DPMS level of an X server. It tells of no change, so it is asked again and again, but only while that is
/// wanted, and not before it has answered.
class X11Power : public DisplayPower {
public:
    static constexpr unsigned kMsBetweenQuestions = 2000;

    X11Power(GMainContext* context, std::function<void()> onChange);
    bool IsOff() const override { return isOff_; }
    void SwitchOn() override;
    void SetWanted(bool isWanted);

private:
    void OnUp();
    void OnDown();
    void Ask();
    void AskRepeatedly();
    void SetOff(bool isOff);
    void UpdateTimer();

    GMainContext* const context_;
    const std::function<void()> onChange_;
    bool isWanted_ = false;
    bool hasLevels_ = false;  ///< the server can power displays down
    bool isOff_ = false;
    bool isAsking_ = false;  ///< a question has not been answered yet
    ContextSource timer_;    ///< set while it is asked
    X11Display display_;
};
