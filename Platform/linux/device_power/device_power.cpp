#include "platform/device_power.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <vector>

#include "device_power/standby.h"
#include "events/resident.h"
#include "locks/locks.h"
#include "platform/dlog.h"
#include "platform/screensaver.h"
#include "platform/vconf.h"

namespace {

constexpr int kSwitchedOn = 0;
constexpr int kStandingBy = 2;
constexpr int kFailed = -1;
constexpr char kAllowedKey[] = "db/menu/connection/easy-wakeup";

struct Subscriber {
    device_power_standby_fn callback;
    void* userData;
};

/// What is there while somebody subscribes, and what is known.
struct Power {
    Lock lock;
    std::vector<Subscriber> subscribers GUARDED_BY(lock);
    std::shared_ptr<Resident<Standby>> standby GUARDED_BY(lock);  ///< there while there are subscribers
    std::atomic<int> state{kSwitchedOn};
    std::atomic<int> wakeupReason{0};

    Lock watchLock;
    int watches GUARDED_BY(watchLock) = 0;
};

// Never destroyed: the events thread may still use it while the program ends.
Power& ThePower() {
    static Power& power = *new Power;
    return power;
}

auto FindLocked(Power& power, device_power_standby_fn callback) REQUIRES(power.lock) {
    return std::find_if(power.subscribers.begin(), power.subscribers.end(),
                        [callback](const Subscriber& known) { return known.callback == callback; });
}

std::vector<Subscriber> Snapshot() {
    const Hold lock(ThePower().lock);
    return ThePower().subscribers;
}

bool IsSubscribed(const Subscriber& subscriber) {
    const Hold lock(ThePower().lock);
    const auto found = FindLocked(ThePower(), subscriber.callback);
    return found != ThePower().subscribers.end() && found->userData == subscriber.userData;
}

// One callback may unsubscribe another.
void OnStandby(bool isStandby) {
    ThePower().state = isStandby ? kStandingBy : kSwitchedOn;
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "standby: %s", isStandby ? "begins" : "ends");
    if (!isStandby) {
        return;
    }
    for (const Subscriber& subscriber : Snapshot()) {
        if (IsSubscribed(subscriber)) {
            subscriber.callback(nullptr, subscriber.userData);
        }
    }
}

std::unique_ptr<Standby> MakeStandby(GMainContext* context) {
    return std::make_unique<Standby>(context, OnStandby);
}

// Displays that tell nothing by themselves are asked only while a pad is allowed to wake the machine.
void OnAllowedChanged(keynode_t* /*node*/, void* /*unused*/) {
    int allowed = 0;
    const bool isAllowed = vconf_get_int(kAllowedKey, &allowed) == 0 && allowed == 1;
    const Hold lock(ThePower().lock);
    if (ThePower().standby != nullptr) {
        ThePower().standby->Post([isAllowed](Standby& standby) { standby.SetWanted(isAllowed); });
    }
}

void BeginWatchingAllowed() {
    {
        const Hold lock(ThePower().watchLock);
        if (ThePower().watches++ == 0) {
            vconf_notify_key_changed(kAllowedKey, OnAllowedChanged, nullptr);
        }
    }
    OnAllowedChanged(nullptr, nullptr);
}

void EndWatchingAllowed() {
    const Hold lock(ThePower().watchLock);
    if (--ThePower().watches == 0) {
        vconf_ignore_key_changed(kAllowedKey, OnAllowedChanged);
    }
}

bool Add(const Subscriber& subscriber) {
    Power& power = ThePower();
    const Hold lock(power.lock);
    if (FindLocked(power, subscriber.callback) != power.subscribers.end()) {
        return false;
    }
    if (power.standby == nullptr) {
        auto standby = std::make_shared<Resident<Standby>>(MakeStandby);
        if (!standby->Works()) {
            return false;
        }
        power.standby = std::move(standby);
    }
    power.subscribers.push_back(subscriber);
    return true;
}

/// What the subscriber was told by; null when it was none. With the last subscriber it is the last one to hold it.
std::shared_ptr<Resident<Standby>> Take(device_power_standby_fn callback) {
    Power& power = ThePower();
    const Hold lock(power.lock);
    const auto found = FindLocked(power, callback);
    if (found == power.subscribers.end()) {
        return nullptr;
    }
    power.subscribers.erase(found);
    return power.subscribers.empty() ? std::move(power.standby) : power.standby;
}

int Subscribe(const Subscriber& subscriber) {
    if (subscriber.callback == nullptr || !Standby::IsOffered() || !Add(subscriber)) {
        return kFailed;
    }
    BeginWatchingAllowed();
    return 0;
}

// Of a machine that nobody watches, nothing is known but that it runs.
void ForgetState() {
    const Hold lock(ThePower().lock);
    if (ThePower().standby == nullptr) {
        ThePower().state = kSwitchedOn;
    }
}

int Unsubscribe(device_power_standby_fn callback) {
    std::shared_ptr<Resident<Standby>> standby = Take(callback);
    if (standby == nullptr) {
        return kFailed;
    }
    EndWatchingAllowed();
    standby->Settle();
    standby.reset();
    ForgetState();
    return 0;
}

int SwitchOn() {
    {
        const Hold lock(ThePower().lock);
        if (ThePower().standby == nullptr) {
            return kFailed;
        }
        ThePower().standby->Post([](Standby& standby) { standby.SwitchOn(); });
    }
    screensaver_reset();
    return 0;
}

// The callers are C functions, out of which nothing may be thrown.
template <typename Operation>
int Guarded(const Operation& operation) {
    try {
        return operation();
    } catch (const std::exception& error) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "standby: %s", error.what());
        return kFailed;
    }
}

}  // namespace

int device_power_subscribe_standby_event(device_power_standby_fn callback, void* user_data) {
    return Guarded([&] { return Subscribe({callback, user_data}); });
}

int device_power_unsubscribe_standby_event(device_power_standby_fn callback) {
    return Guarded([&] { return Unsubscribe(callback); });
}

int device_power_get_state(void) {
    return ThePower().state;
}

int device_power_set_wakeup_reason(int reason) {
    ThePower().wakeupReason = reason;
    return 0;
}

// Nothing of ours puts the machine to sleep: it is only ever switched on.
int device_power_set_state(int state, int /*flag*/) {
    if (state != kSwitchedOn) {
        return kFailed;
    }
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "standby: waking up, reason %d", ThePower().wakeupReason.load());
    return Guarded(SwitchOn);
}
