// A library to preload: it delays threads at random wherever they meet, so that they meet in other ways.
//
// Before and after each lock, wait, signal and post a thread goes on, gives way, or sleeps for up to a millisecond.
// Waits for a condition end at times for no reason, timed ones too early, and pauses are short: the lives of a program
// that waits for tenths of seconds pass quickly.
//
// Replay   each thread draws from a sequence of its own, which follows from the seed and from how many threads drew
//          before it. The kernel's own scheduling is not replayed.
// The double of the platform takes a lock in each of its functions, so platform calls are such places as well.

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>

namespace {

std::atomic<uint64_t> seed{1};
std::atomic<uint64_t> life{0};
std::atomic<uint64_t> threads{0};

struct Dice {
    uint64_t state;
    uint64_t life;
};
thread_local Dice dice{0, UINT64_MAX};

// SplitMix64.
uint64_t Roll() {
    if (dice.life != life) {
        dice = {seed + ++threads * 0x2545F4914F6CDD1DU, life};
    }
    uint64_t roll = dice.state += 0x9E3779B97F4A7C15U;
    roll = (roll ^ (roll >> 30U)) * 0xBF58476D1CE4E5B9U;
    roll = (roll ^ (roll >> 27U)) * 0x94D049BB133111EBU;
    return roll ^ (roll >> 31U);
}

bool Happens(unsigned oneIn) {
    return Roll() % oneIn == 0;
}

void Sleep(uint64_t microseconds) {
    const timespec time{0, static_cast<long>(microseconds) * 1000};
    nanosleep(&time, nullptr);
}

void Stumble() {
    const int error = errno;
    if (Happens(64)) {
        Sleep(Roll() % 1000);
    } else if (Happens(4)) {
        sched_yield();
    }
    errno = error;
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Conditions have two versions in the C library, of which the unnamed one is for programs of long ago. What
// ThreadSanitizer puts before both has one.
template <class Function>
Function* NextOfConditions(const char* name) {
    static const bool isWatched = dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr;
    return isWatched ? Next<Function>(name) : reinterpret_cast<Function*>(dlvsym(RTLD_NEXT, name, "GLIBC_2.3.2"));
}

#define NEXT(function) static auto* const next = Next<decltype(function)>(#function)
#define NEXT_CONDITION(function) static auto* const next = NextOfConditions<decltype(function)>(#function)

timespec InAMoment() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    time.tv_nsec += static_cast<long>(Roll() % 3000000);
    if (time.tv_nsec >= 1000000000) {
        time = {time.tv_sec + 1, time.tv_nsec - 1000000000};
    }
    return time;
}

bool IsEarlier(const timespec& one, const timespec& other) {
    return one.tv_sec != other.tv_sec ? one.tv_sec < other.tv_sec : one.tv_nsec < other.tv_nsec;
}

}  // namespace

extern "C" {

/// A new life begins: the threads draw anew from this seed.
void shaker_begin(uint64_t newSeed) {
    seed = newSeed;
    threads = 0;
    ++life;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    NEXT(pthread_mutex_lock);
    Stumble();
    return next(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    NEXT(pthread_mutex_unlock);
    const int result = next(mutex);
    Stumble();
    return result;
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    NEXT_CONDITION(pthread_cond_wait);
    if (Happens(16)) {
        pthread_mutex_unlock(mutex);
        return pthread_mutex_lock(mutex);
    }
    const int result = next(condition, mutex);
    Stumble();
    return result;
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
    NEXT_CONDITION(pthread_cond_timedwait);
    const timespec early = InAMoment();
    const int result = next(condition, mutex, IsEarlier(early, *deadline) ? &early : deadline);
    Stumble();
    return result;
}

int pthread_cond_signal(pthread_cond_t* condition) {
    NEXT_CONDITION(pthread_cond_signal);
    Stumble();
    return next(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
    NEXT_CONDITION(pthread_cond_broadcast);
    Stumble();
    return next(condition);
}

int sem_post(sem_t* semaphore) {
    NEXT(sem_post);
    return next(semaphore);  // also called by signal handlers, which draw nothing
}

int sem_wait(sem_t* semaphore) {
    NEXT(sem_wait);
    Stumble();
    return next(semaphore);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    NEXT(pthread_create);
    Stumble();
    const int result = next(thread, attributes, body, argument);
    Stumble();
    return result;
}

int usleep(useconds_t time) {
    constexpr useconds_t kLongest = 2000;
    Sleep(time == 0 ? 0 : Roll() % (time < kLongest ? time : kLongest));
    return 0;
}

}  // extern "C"
