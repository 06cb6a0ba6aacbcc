#include "service_clock.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "CThread/CSemaphore.h"
#include "SemaphoreWatch.h"

extern "C" {
int __real_gettimeofday(timeval* now, void* zone);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int __real_pthread_cond_signal(pthread_cond_t* condition);
int __real_usleep(useconds_t time);
int __wrap_gettimeofday(timeval* now, void* zone);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int __wrap_pthread_cond_signal(pthread_cond_t* condition);
int __wrap_usleep(useconds_t time);
}

namespace {

using Microseconds = ServiceClock::Microseconds;

constexpr char kCombinationThread[] = "CombinedHandle-";
constexpr useconds_t kShortPauseUs = 1000;

std::atomic<ServiceClock*> current{nullptr};

std::string ThreadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

ServiceClock* StandingClock() {
    ServiceClock* const clock = current;
    return clock != nullptr && clock->Stands() ? clock : nullptr;
}

Microseconds RealNow() {
    timeval now{};
    __real_gettimeofday(&now, nullptr);
    return std::chrono::seconds(now.tv_sec) + Microseconds(now.tv_usec);
}

Microseconds FromTimespec(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + Microseconds(time.tv_nsec / 1000);
}

/// A thread that waits while the clock stands. It waits in short pieces, and a signal that comes as one of them runs
/// out reaches nobody; here it is kept.
class Sleeper {
public:
    explicit Sleeper(const pthread_cond_t* condition) : condition_(condition) {
        const std::lock_guard<std::mutex> lock(TheMutex());
        All().push_back(this);
    }
    ~Sleeper() {
        const std::lock_guard<std::mutex> lock(TheMutex());
        All().erase(std::find(All().begin(), All().end(), this));
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    bool IsSignalled() const {
        const std::lock_guard<std::mutex> lock(TheMutex());
        return signalled_;
    }
    /// Tells the first one who waits there.
    static void Signal(const pthread_cond_t* condition) {
        const std::lock_guard<std::mutex> lock(TheMutex());
        const auto waits = [&](const Sleeper* one) { return one->condition_ == condition && !one->signalled_; };
        const auto found = std::find_if(All().begin(), All().end(), waits);
        if (found != All().end()) {
            (*found)->signalled_ = true;
        }
    }

private:
    static std::mutex& TheMutex() {
        static auto& mutex = *new std::mutex;
        return mutex;
    }
    static std::vector<Sleeper*>& All() {
        static auto& all = *new std::vector<Sleeper*>;
        return all;
    }

    const pthread_cond_t* condition_;
    bool signalled_ = false;
};

/// Waits for the signal, but not long: the clock is looked at in between.
int WaitShortly(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    const Microseconds until = RealNow() + Microseconds(kShortPauseUs);
    const timespec deadline = {until.count() / 1000000, static_cast<long>(until.count() % 1000000 * 1000)};
    return __real_pthread_cond_timedwait(condition, mutex, &deadline);
}

}  // namespace

ServiceClock::ServiceClock() : now_(RealNow()) {
    if (current.exchange(this) != nullptr) {
        fprintf(stderr, "ServiceClock: there is one already\n");
        abort();
    }
}

ServiceClock::~ServiceClock() {
    LetRun();
    current = nullptr;
}

void ServiceClock::Advance(Milliseconds time) {
    const std::lock_guard<std::mutex> lock(mutex_);
    now_ += time;
    changed_.notify_all();
}

void ServiceClock::LetRun() {
    const std::lock_guard<std::mutex> lock(mutex_);
    stands_ = false;
    changed_.notify_all();
}

int ServiceClock::Naps(const std::string& thread) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = naps_.find(thread);
    return found == naps_.end() ? 0 : found->second;
}

bool ServiceClock::WaitForNap(const std::string& thread, int nap) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, kSoon, [&] {
        const auto found = naps_.find(thread);
        return found != naps_.end() && found->second >= nap;
    });
}

bool ServiceClock::AdvanceToNextNap(const std::string& thread, Milliseconds time) {
    const int naps = Naps(thread);
    Advance(time);
    return WaitForNap(thread, naps + 1);
}

bool ServiceClock::Stands() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return stands_;
}

Microseconds ServiceClock::Now() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return now_;
}

void ServiceClock::NoteNap() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++naps_[ThreadName()];
    changed_.notify_all();
}

void ServiceClock::SleepUntil(Microseconds time) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return now_ >= time || !stands_; });
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    const ServiceClock* const clock = StandingClock();
    if (clock == nullptr) {
        return __real_gettimeofday(now, zone);
    }
    const Microseconds time = clock->Now();
    *now = {time.count() / 1000000, time.count() % 1000000};
    return 0;
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    if (mutex != &TimeMutex.tMutex) {
        return __real_pthread_cond_wait(condition, mutex);
    }
    const SemaphoreWatch::Rest rest;
    return __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
    ServiceClock* clock = StandingClock();
    if (clock == nullptr) {
        return __real_pthread_cond_timedwait(condition, mutex, deadline);
    }
    const Sleeper sleeper(condition);
    clock->NoteNap();
    for (; clock != nullptr; clock = StandingClock()) {
        if (sleeper.IsSignalled()) {
            return 0;
        }
        if (clock->Now() >= FromTimespec(*deadline)) {
            return ETIMEDOUT;
        }
        const int result = WaitShortly(condition, mutex);
        if (result != ETIMEDOUT) {
            return result;
        }
    }
    return 0;  // the clock runs again: a wake-up without a reason, after which the waiter reads the time anew
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    Sleeper::Signal(condition);
    return __real_pthread_cond_signal(condition);
}

int __wrap_usleep(useconds_t time) {
    ServiceClock* const clock = StandingClock();
    if (current == nullptr) {
        return __real_usleep(time);
    }
    if (clock == nullptr || ThreadName() != kCombinationThread) {
        const bool measures = ThreadName() == kCombinationThread;
        return __real_usleep(measures ? time : std::min(time, kShortPauseUs));
    }
    const Microseconds until = clock->Now() + Microseconds(time);
    clock->NoteNap();
    clock->SleepUntil(until);
    return 0;
}
