#pragma once

#include <glib.h>

#include <functional>

#include "bus/bus.h"

/// logind's word that the machine is about to sleep or has woken. While the machine is awake a delay inhibitor is held,
/// so that sleep waits (five seconds at most, by logind's setting) until the notice has been handled.
///
/// Threads  the events thread's; onSleep is called there.
class SleepNotice {
public:
    /// Sleep may begin when onSleep(true) has returned. logind's end counts as having woken.
    SleepNotice(GMainContext* context, std::function<void(bool isAsleep)> onSleep);
    ~SleepNotice();
    SleepNotice(const SleepNotice&) = delete;
    SleepNotice& operator=(const SleepNotice&) = delete;

private:
    void OnOwner(bool isOwned);
    void OnPrepare(sd_bus_message* signal);
    void SetAsleep(bool isAsleep);
    void Delay();
    void OnInhibitor(sd_bus_message* reply);
    void Allow();

    const std::function<void(bool)> onSleep_;
    bool isAsleep_ = false;
    int inhibitor_ = -1;
    Bus bus_;
};
