#include "platform/screensaver.h"

#include <atomic>
#include <exception>
#include <memory>
#include <utility>

#include "events/resident.h"
#include "locks/locks.h"
#include "memory/memory.h"
#include "platform/dlog.h"
#include "screensaver/screensavers.h"
#include "settings/computed_keys.h"
#include "settings/set_key.h"

namespace {

constexpr char kStateKey[] = "memory/window_system/screensaver_on_off";

using Savers = Resident<Screensavers>;

/// The screensavers are in use while their state is watched, and for a minute after each reset.
struct Use {
    Lock lock;
    std::unique_ptr<Savers> savers GUARDED_BY(lock);
    bool isWatched GUARDED_BY(lock) = false;
    std::atomic<bool> isHelpless{false};
};

// Never destroyed: the events thread may still use it while the program ends.
Use& TheUse() {
    static Use& use = *new Use;
    return use;
}

void Publish(bool isOn) {
    SetKey(kStateKey, isOn);
}

// The savers wait for the events thread when they end, on which a function may wait for the lock: never end them with
// the lock held.
std::unique_ptr<Savers> TakeIfUnwatched() {
    const Hold lock(TheUse().lock);
    return TheUse().isWatched ? nullptr : std::move(TheUse().savers);
}

void EndIfUnwatched() {
    if (std::unique_ptr<Savers> ended = TakeIfUnwatched()) {
        ended.reset();
        Publish(false);
    }
}

std::unique_ptr<Screensavers> MakeSavers(GMainContext* context) {
    return std::make_unique<Screensavers>(
        context,
        Screensavers::Observer{Publish, [](bool isHelpless) { TheUse().isHelpless = isHelpless; }, EndIfUnwatched});
}

// Whatever a process before has left behind, off is what changes are told against.
void StartLocked(Use& use) REQUIRES(use.lock) {
    if (use.savers == nullptr) {
        Publish(false);
        use.isHelpless = false;
        use.savers = std::make_unique<Savers>(MakeSavers);
    }
}

void StartWatching() {
    const Hold lock(TheUse().lock);
    TheUse().isWatched = true;
    StartLocked(TheUse());
}

void StopWatching() {
    {
        const Hold lock(TheUse().lock);
        TheUse().isWatched = false;
    }
    EndIfUnwatched();
}

const ComputedKey stateKey(kStateKey, StartWatching, StopWatching);

int Reset() {
    Use& use = TheUse();
    const Hold lock(use.lock);
    StartLocked(use);
    use.savers->Post([isWatched = use.isWatched](Screensavers& savers) {
        isWatched ? savers.Reset() : savers.ResetAndLinger();
        // What all this has needed is not needed again before the next reset, half a minute later.
        GiveBackFilePages();
    });
    return use.savers->Works() && !use.isHelpless ? 0 : -1;
}

}  // namespace

int screensaver_reset(void) {
    try {
        return Reset();
    } catch (const std::exception& error) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "screensaver: %s", error.what());
        return -1;
    }
}
