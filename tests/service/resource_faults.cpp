#include "resource_faults.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
}

namespace {

/// Counts down to the one that is refused; 0 and less: none.
std::atomic<int> threadsLeft{0};
std::atomic<int> allocationsLeft{0};

bool IsRefused(std::atomic<int>& left) {
    return left > 0 && --left == 0;
}

}  // namespace

void faults::RefuseThread(int nth) {
    threadsLeft = nth;
}

void faults::RefuseMemory(int nth) {
    allocationsLeft = nth;
}

void faults::ForgetFaults() {
    threadsLeft = 0;
    allocationsLeft = 0;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    return IsRefused(threadsLeft) ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}

void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
    if (IsRefused(allocationsLeft)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
