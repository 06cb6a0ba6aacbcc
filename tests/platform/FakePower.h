#pragma once

#include <platform/device_power.h>

#include <string>
#include <vector>

#include "CallRecorder.h"
#include "LibraryThread.h"

/// Standby, wake-up and the screensaver. The power state is 0 at first; waking up sets it.
/// Standby notices come on the thread "power-lib". Unsubscribing waits for the notice that is being delivered.
/// Strict: one subscription at a time, and only the subscriber leaves.
class FakePower {
public:
    explicit FakePower(CallRecorder& recorder) : recorder_(recorder), thread_("power-lib") {}

    void SetPowerState(int state);
    int PowerState() const;
    void SendStandby();
    bool WaitUntilStandbyTold(std::chrono::milliseconds atMost = kSoon) const { return thread_.WaitUntilIdle(atMost); }

    int OnSubscribe(device_power_standby_fn callback, void* user);
    int OnUnsubscribe(device_power_standby_fn callback);
    int OnGetState();
    int OnSetWakeupReason(int reason);
    int OnSetState(int state, int flag);
    int OnScreensaverReset();

protected:
    void AppendPowerLeftovers(std::vector<std::string>& leftovers) const;
    LibraryThread& PowerThread() { return thread_; }

private:
    CallRecorder& recorder_;
    int state_ = 0;
    device_power_standby_fn callback_ = nullptr;
    void* user_ = nullptr;
    LibraryThread thread_;
};
