#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bus/bus.h"
#include "screensaver/saver.h"
#include "screensaver/wayland_saver.h"

/// Every screensaver of the session, as one.
///
/// Threads  made, used and destroyed on the events thread; the functions given to it are called there.
class Screensavers {
public:
    struct Observer {
        std::function<void(bool isOn)> onState;               ///< at each change; it begins as off
        std::function<void(bool isHelpless)> onHelplessness;  ///< at each change; it begins as false
        std::function<void()> onUnused;                       ///< a minute has passed since the last ResetAndLinger
    };

    Screensavers(GMainContext* context, Observer observer);
    ~Screensavers();
    Screensavers(const Screensavers&) = delete;
    Screensavers& operator=(const Screensavers&) = delete;

    /// Asks all that are there, and those that are found within the next seconds: who is there is not known at once.
    void Reset();
    void ResetAndLinger();

    /// The names of those that a reset reaches, as far as is known.
    std::vector<std::string> Reached() const;
    /// Whether a compositor runs and nothing can be reset.
    bool IsHelpless() const;

private:
    void Update();
    void OnFound(Saver& saver);
    void StopTimer();
    static gboolean OnTime(gpointer self);

    GMainContext* const context_;
    const Observer observer_;
    bool isOn_ = false;
    bool isHelpless_ = false;
    gint64 askedUntil_ = 0;
    GSource* timer_ = nullptr;
    std::vector<std::unique_ptr<Saver>> savers_;  // outlives the bus, which calls back
    WaylandSaver* wayland_ = nullptr;
    std::unique_ptr<Bus> bus_;
};
