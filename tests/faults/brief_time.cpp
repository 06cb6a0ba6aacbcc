#include "brief_time.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <optional>

#include "fault_plan.h"
#include "service_access.h"

namespace {

using Microseconds = BriefTime::Microseconds;

constexpr std::chrono::milliseconds kIdle{20};     // of real time, after which nobody else moves the clock
constexpr std::chrono::milliseconds kSettled{50};  // of real time, for what the clock has woken

struct Sleeper {
    pthread_cond_t* condition;
    Microseconds until;
    bool due = false;
};

/// Guarded by the semaphores' mutex, in which the service waits, but for the time.
struct State {
    std::atomic<Microseconds::rep> now{0};
    std::vector<Sleeper*> sleepers;
    int restless = 0;  // threads that the clock has woken and that sleep no more
    int moves = 0;
    std::atomic<bool> isHeld{false};  // while the test does something, however long that takes
    pthread_cond_t settled = PTHREAD_COND_INITIALIZER;
    BriefTime::InPause inPause;
    std::optional<pthread_t> pauser;
};
State& TheState() {
    static auto& state = *new State;
    return state;
}
thread_local bool wokenByClock = false;

/// The semaphores' mutex, without the faults.
class Lock {
public:
    Lock() { pthread_mutex_lock(SemaphoresMutex()); }
    ~Lock() { pthread_mutex_unlock(SemaphoresMutex()); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

timespec RealTimeAfter(std::chrono::milliseconds time) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto nanoseconds = now.tv_nsec + std::chrono::nanoseconds(time).count();
    return {now.tv_sec + nanoseconds / 1000000000, nanoseconds % 1000000000};
}

void MoveLocked(State& state, Microseconds now) {
    state.now = std::max(state.now.load(), now.count());
    ++state.moves;
    for (Sleeper* const sleeper : state.sleepers) {
        if (!sleeper->due && sleeper->until.count() <= state.now) {
            sleeper->due = true;
            ++state.restless;
            pthread_cond_broadcast(sleeper->condition);
        }
    }
}

void JumpLocked(State& state) {
    const auto earlier = [](const Sleeper* one, const Sleeper* other) { return one->until < other->until; };
    const auto next = std::min_element(state.sleepers.begin(), state.sleepers.end(), earlier);
    if (next != state.sleepers.end()) {
        MoveLocked(state, (*next)->until);
    }
}

void NoteRestLocked(State& state) {
    if (wokenByClock) {
        wokenByClock = false;
        --state.restless;
        pthread_cond_broadcast(&state.settled);
    }
}

int SleepLocked(State& state, pthread_cond_t* condition, pthread_mutex_t* mutex, Microseconds until) {
    NoteRestLocked(state);
    Sleeper self{condition, until};
    state.sleepers.push_back(&self);
    int result = ETIMEDOUT;
    while (!self.due && result == ETIMEDOUT) {
        const int moves = state.moves;
        const timespec patience = RealTimeAfter(kIdle);
        result = pthread_cond_timedwait(condition, mutex, &patience);
        if (result == ETIMEDOUT && moves == state.moves && !state.isHeld) {
            JumpLocked(state);
        }
    }
    state.sleepers.erase(std::find(state.sleepers.begin(), state.sleepers.end(), &self));
    wokenByClock = self.due;
    return self.due ? ETIMEDOUT : result;
}

void MoveAndSettle(State& state, std::chrono::milliseconds time) {
    const Lock lock;
    MoveLocked(state, Microseconds(state.now) + time);
    const timespec patience = RealTimeAfter(kSettled);
    while (state.restless > 0 && pthread_cond_timedwait(&state.settled, SemaphoresMutex(), &patience) != ETIMEDOUT) {
    }
    state.restless = 0;
}

bool IsPauser(State& state) {
    const Lock lock;
    if (!state.pauser) {
        state.pauser = pthread_self();
    }
    return *state.pauser == pthread_self();
}

}  // namespace

void BriefTime::Begin(InPause inPause) {
    State& state = TheState();
    state.inPause = std::move(inPause);
    state.now = std::chrono::duration_cast<Microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

timeval BriefTime::Now() {
    const Microseconds::rep now = TheState().now;
    return {now / 1000000, now % 1000000};
}

void BriefTime::Pause(Microseconds time) {
    const FaultPlan::Outside outside;
    State& state = TheState();
    if (IsPauser(state)) {
        state.isHeld = true;
        const auto pause = state.inPause();
        state.isHeld = false;
        MoveAndSettle(state, pause);
        return;
    }
    const Lock lock;
    pthread_cond_t nobodys = PTHREAD_COND_INITIALIZER;
    SleepLocked(state, &nobodys, SemaphoresMutex(), Microseconds(state.now) + time);
}

int BriefTime::Wait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec& deadline) {
    const FaultPlan::Outside outside;
    const Microseconds until = std::chrono::seconds(deadline.tv_sec) + Microseconds(deadline.tv_nsec / 1000);
    return SleepLocked(TheState(), condition, mutex, until);
}

void BriefTime::NoteRest() {
    NoteRestLocked(TheState());
}
