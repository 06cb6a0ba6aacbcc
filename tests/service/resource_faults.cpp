#include "resource_faults.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>

#include "CThread/CSemaphore.h"
#include "SemaphoreWatch.h"

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size);
}

namespace {

/// Counts down to the one that is refused; 0 and less: none.
std::atomic<int> threadsLeft{0};
std::atomic<int> semaphoresLeft{0};

bool IsRefused(std::atomic<int>& left) {
    return left > 0 && --left == 0;
}

}  // namespace

void faults::RefuseThread(int nth) {
    threadsLeft = nth;
}

void faults::RefuseMemory(int nth) {
    semaphoresLeft = nth;
}

void faults::ForgetFaults() {
    threadsLeft = 0;
    semaphoresLeft = 0;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    return IsRefused(threadsLeft) ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_lock(mutex);
    SemaphoreWatch::NoteLock(mutex == &TimeMutex.tMutex);
    return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    SemaphoreWatch::NoteUnlock(mutex == &TimeMutex.tMutex);
    return __real_pthread_mutex_unlock(mutex);
}

void* __wrap__Znwm(std::size_t size) {
    if (SemaphoreWatch::IsInSemaphore() && IsRefused(semaphoresLeft)) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}
