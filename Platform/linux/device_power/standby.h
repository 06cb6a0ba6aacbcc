#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <vector>

#include "bus/bus.h"
#include "device_power/display_power.h"
#include "device_power/sleep_notice.h"
#include "device_power/x11_power.h"

/// Whether the machine stands by: its displays are powered down, or it is about to sleep.
///
/// Threads  made, used and destroyed on the events thread, where onChange is called at each change; it begins as false.
class Standby {
public:
    Standby(GMainContext* context, std::function<void(bool isStandby)> onChange);
    /// Powers the displays on, where they are off.
    void SwitchOn();
    /// Whether it is worth asking displays that tell of no change by themselves.
    void SetWanted(bool isWanted) { x11_->SetWanted(isWanted); }

    /// Whether anything of this session could ever stand by and tell of it: a display, or logind. Does not wait and
    /// connects to nothing, so a display that cannot be powered down counts too. Any thread.
    static bool IsOffered();

private:
    void Update();

    const std::function<void(bool)> onChange_;
    bool isAsleep_ = false;
    bool isStandby_ = false;
    std::vector<std::unique_ptr<DisplayPower>> displays_;  // outlives the buses, which call back
    X11Power* x11_ = nullptr;
    Bus session_;
    SleepNotice sleep_;
};
