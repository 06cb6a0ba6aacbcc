#include "SemaphoreWatch.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <set>

#include "CallRecorder.h"

namespace {

struct HeldMutexes {
    bool ofSemaphores = false;
    int takenSince = 0;
};
// Without a constructor: the allocation function reads it, and must not allocate to do so.
thread_local HeldMutexes held;

struct Resting {
    std::mutex mutex;
    std::condition_variable changed;
    std::multiset<std::string> threads;
};

/// Never destroyed: threads may rest until the process is gone.
Resting& TheResting() {
    static auto& resting = *new Resting;
    return resting;
}

std::string ThreadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

}  // namespace

void SemaphoreWatch::NoteLock(bool isOfSemaphores) {
    if (isOfSemaphores) {
        held = {true, 0};
    } else if (held.ofSemaphores) {
        ++held.takenSince;
    }
}

void SemaphoreWatch::NoteUnlock(bool isOfSemaphores) {
    if (isOfSemaphores) {
        held = {};
    } else if (held.ofSemaphores) {
        --held.takenSince;
    }
}

bool SemaphoreWatch::IsInSemaphore() {
    return held.ofSemaphores && held.takenSince == 0;
}

SemaphoreWatch::Rest::Rest() : thread_(ThreadName()) {
    Resting& resting = TheResting();
    const std::lock_guard<std::mutex> lock(resting.mutex);
    resting.threads.insert(thread_);
    resting.changed.notify_all();
}

SemaphoreWatch::Rest::~Rest() {
    Resting& resting = TheResting();
    const std::lock_guard<std::mutex> lock(resting.mutex);
    resting.threads.erase(resting.threads.find(thread_));
}

bool SemaphoreWatch::WaitForRest(const std::string& thread) {
    Resting& resting = TheResting();
    std::unique_lock<std::mutex> lock(resting.mutex);
    return resting.changed.wait_for(lock, kSoon, [&] { return resting.threads.count(thread) > 0; });
}
