#include "FakePower.h"

struct _device_poweroff_info {
    int unused;
};

void FakePower::SetPowerState(int state) {
    const auto lock = recorder_.Lock();
    state_ = state;
}

int FakePower::PowerState() const {
    const auto lock = recorder_.Lock();
    return state_;
}

void FakePower::SendStandby() {
    thread_.Post([this] {
        auto lock = recorder_.Lock();
        const device_power_standby_fn callback = callback_;
        void* const user = user_;
        lock.unlock();
        _device_poweroff_info info{};
        if (callback != nullptr) {
            callback(&info, user);
        }
    });
}

int FakePower::OnSubscribe(device_power_standby_fn callback, void* user) {
    const auto effect = [&] {
        if (callback_ != nullptr) {
            recorder_.ViolateLocked("second standby subscription");
        }
        callback_ = callback;
        user_ = user;
        return 0;
    };
    return recorder_.RunWithAll(callback != nullptr, "device_power_subscribe_standby_event",
                                {PointerText(callback != nullptr), PointerText(user != nullptr)}, kZeroIsSuccess,
                                effect);
}

int FakePower::OnUnsubscribe(device_power_standby_fn callback) {
    const auto effect = [&] {
        if (callback_ != callback || callback == nullptr) {
            recorder_.ViolateLocked("left standby notices without a subscription");
            return -1;
        }
        callback_ = nullptr;
        return 0;
    };
    const int result = recorder_.Run("device_power_unsubscribe_standby_event", {PointerText(callback != nullptr)},
                                     kZeroIsSuccess, effect);
    if (!thread_.WaitUntilIdle(kSoon)) {
        const auto lock = recorder_.Lock();
        recorder_.ViolateLocked("a standby callback does not return");
    }
    return result;
}

int FakePower::OnGetState() {
    const Convention any_state{-2, -1};
    return recorder_.Run("device_power_get_state", {}, any_state, [&] { return state_; });
}

int FakePower::OnSetWakeupReason(int reason) {
    return recorder_.Run("device_power_set_wakeup_reason", {ArgumentText(reason)}, kZeroIsSuccess, [] { return 0; });
}

int FakePower::OnSetState(int state, int flag) {
    return recorder_.Run("device_power_set_state", {ArgumentText(state), ArgumentText(flag)}, kZeroIsSuccess, [&] {
        state_ = state;
        return 0;
    });
}

int FakePower::OnScreensaverReset() {
    return recorder_.Run("screensaver_reset", {}, kZeroIsSuccess, [] { return 0; });
}

void FakePower::AppendPowerLeftovers(std::vector<std::string>& leftovers) const {
    const auto lock = recorder_.Lock();
    if (callback_ != nullptr) {
        leftovers.emplace_back("standby subscription");
    }
}
