#include "Faults.h"

#include <sys/prctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <map>
#include <mutex>
#include <new>

#include "CThread/CSemaphore.h"
#include "SemaphoreWatch.h"

namespace {

struct PlannedFault {
    std::string function;
    int result;
    int callsToGo;
};

/// Made without an allocation, since the allocation function looks at it.
struct ThreadPlan {
    std::vector<PlannedFault> faults;
    int allocationsToGo = 0;
    bool clockSet = false;
    timeval clock{};
    long clockStep = 0;
    std::vector<int> timedWaits;
    std::vector<timespec> deadlines;
};

ThreadPlan& Plan() {
    thread_local ThreadPlan plan;
    return plan;
}

struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> names;
    int waitsBegun = 0;
    int timedWaitsBegun = 0;
    bool stepping = false;
    int arrived = 0;  // sleeps that have begun
    int granted = 0;  // sleeps that may end
    unsigned lastSleep = 0;
};

Shared& TheShared() {
    static auto& shared = *new Shared;
    return shared;
}

constexpr std::chrono::seconds kPatience{20};

/// The planned result of this call, or 0.
int Fault(const char* function) {
    for (PlannedFault& fault : Plan().faults) {
        if (fault.function == function && fault.callsToGo > 0 && --fault.callsToGo == 0) {
            return fault.result;
        }
    }
    return 0;
}

bool AllocationRefused() {
    ThreadPlan& plan = Plan();
    return plan.allocationsToGo > 0 && --plan.allocationsToGo == 0;
}

bool IsOurs(const pthread_mutex_t* mutex) {
    return mutex == &TimeMutex.tMutex;
}

void NoteWait(bool timed) {
    Shared& shared = TheShared();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    ++shared.waitsBegun;
    shared.timedWaitsBegun += timed ? 1 : 0;
    shared.changed.notify_all();
}

}  // namespace

Faults::~Faults() {
    Plan() = {};
}

void Faults::FailNext(const std::string& function, int result, int nth) {
    Plan().faults.push_back({function, result, nth});
}
void Faults::FailNextAllocation(int nth) {
    Plan().allocationsToGo = nth;
}

void Faults::SetClock(long seconds, long microseconds, long step) {
    Plan().clockSet = true;
    Plan().clock = {seconds, microseconds};
    Plan().clockStep = step;
}

void Faults::AnswerTimedWaits(std::vector<int> results) {
    Plan().timedWaits.assign(results.begin(), results.end());
}
std::vector<timespec> Faults::Deadlines() {
    return Plan().deadlines;
}

std::vector<std::string> Faults::NamesSet() {
    const std::lock_guard<std::mutex> lock(TheShared().mutex);
    return TheShared().names;
}

int Faults::WaitsBegun() {
    const std::lock_guard<std::mutex> lock(TheShared().mutex);
    return TheShared().waitsBegun;
}

bool Faults::WaitForWaits(int count, std::chrono::milliseconds atMost) {
    Shared& shared = TheShared();
    std::unique_lock<std::mutex> lock(shared.mutex);
    return shared.changed.wait_for(lock, atMost, [&] { return shared.waitsBegun >= count; });
}

int Faults::TimedWaitsBegun() {
    const std::lock_guard<std::mutex> lock(TheShared().mutex);
    return TheShared().timedWaitsBegun;
}

bool Faults::WaitForTimedWaits(int count, std::chrono::milliseconds atMost) {
    Shared& shared = TheShared();
    std::unique_lock<std::mutex> lock(shared.mutex);
    return shared.changed.wait_for(lock, atMost, [&] { return shared.timedWaitsBegun >= count; });
}

SleepStepper::SleepStepper() {
    Shared& shared = TheShared();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.stepping = true;
    shared.arrived = 0;
    shared.granted = 0;
}

SleepStepper::~SleepStepper() {
    Shared& shared = TheShared();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.stepping = false;
    shared.changed.notify_all();
}

bool SleepStepper::WaitForSleeper() {
    Shared& shared = TheShared();
    std::unique_lock<std::mutex> lock(shared.mutex);
    return shared.changed.wait_for(lock, kPatience, [&] { return shared.arrived > shared.granted; });
}

bool SleepStepper::Step(int times) {
    Shared& shared = TheShared();
    for (int i = 0; i < times; ++i) {
        if (!WaitForSleeper()) {
            return false;
        }
        const std::lock_guard<std::mutex> lock(shared.mutex);
        ++shared.granted;
        shared.changed.notify_all();
    }
    return WaitForSleeper();
}

unsigned SleepStepper::LastSleepMicroseconds() {
    const std::lock_guard<std::mutex> lock(TheShared().mutex);
    return TheShared().lastSleep;
}

// Here the service's calls arrive: the linker renames them, and the real functions, in this program.
extern "C" {

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int __real_pthread_cond_signal(pthread_cond_t* condition);
int __real_pthread_cond_destroy(pthread_cond_t* condition);
int __real_gettimeofday(timeval* now, void* zone);
int __real_usleep(unsigned microseconds);
void* __real__Znwm(std::size_t size);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    const int fault = Fault("pthread_create");
    return fault != 0 ? fault : __real_pthread_create(thread, attributes, start, argument);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_lock(mutex);
    SemaphoreWatch::NoteLock(IsOurs(mutex));
    const int fault = IsOurs(mutex) ? Fault("pthread_mutex_lock") : 0;
    return fault != 0 ? fault : result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const int fault = IsOurs(mutex) ? Fault("pthread_mutex_unlock") : 0;
    SemaphoreWatch::NoteUnlock(IsOurs(mutex));
    const int result = __real_pthread_mutex_unlock(mutex);
    return fault != 0 ? fault : result;
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    const int fault = Fault("pthread_cond_wait");
    if (!IsOurs(mutex)) {
        return fault != 0 ? fault : __real_pthread_cond_wait(condition, mutex);
    }
    NoteWait(/*timed=*/false);
    const SemaphoreWatch::Rest rest;
    return fault != 0 ? fault : __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
    if (!IsOurs(mutex)) {
        return __real_pthread_cond_timedwait(condition, mutex, deadline);
    }
    ThreadPlan& plan = Plan();
    NoteWait(/*timed=*/true);
    plan.deadlines.push_back(*deadline);
    if (plan.timedWaits.empty()) {
        return __real_pthread_cond_timedwait(condition, mutex, deadline);
    }
    const int result = plan.timedWaits.front();
    plan.timedWaits.erase(plan.timedWaits.begin());
    return result;
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    const int result = __real_pthread_cond_signal(condition);
    const int fault = Fault("pthread_cond_signal");
    return fault != 0 ? fault : result;
}

int __wrap_pthread_cond_destroy(pthread_cond_t* condition) {
    const int result = __real_pthread_cond_destroy(condition);
    const int fault = Fault("pthread_cond_destroy");
    return fault != 0 ? fault : result;
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    ThreadPlan& plan = Plan();
    const int fault = Fault("gettimeofday");
    if (fault != 0 || !plan.clockSet) {
        return fault != 0 ? fault : __real_gettimeofday(now, zone);
    }
    *now = plan.clock;
    plan.clock.tv_usec += plan.clockStep;
    return 0;
}

int __wrap_usleep(unsigned microseconds) {
    Shared& shared = TheShared();
    std::unique_lock<std::mutex> lock(shared.mutex);
    shared.lastSleep = microseconds;
    if (!shared.stepping) {
        lock.unlock();
        return __real_usleep(microseconds);
    }
    const int mine = ++shared.arrived;
    shared.changed.notify_all();
    shared.changed.wait(lock, [&] { return shared.granted >= mine || !shared.stepping; });
    return 0;
}

int __wrap_prctl(int option, ...) {
    va_list arguments;
    va_start(arguments, option);
    const char* const name = va_arg(arguments, const char*);
    va_end(arguments);
    {
        const std::lock_guard<std::mutex> lock(TheShared().mutex);
        TheShared().names.emplace_back(name);
    }
    // The thread that names itself is new, so whoever wants it to fail says so for every thread.
    return name == std::string("unnameable") ? -1 : pthread_setname_np(pthread_self(), name);
}

void* __wrap__Znwm(std::size_t size) {
    if (SemaphoreWatch::IsInSemaphore() && AllocationRefused()) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

}  // extern "C"

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (AllocationRefused()) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
