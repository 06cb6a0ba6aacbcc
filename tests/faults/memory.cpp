// The allocation functions of the whole program, its libraries included.

#include <cerrno>
#include <cstdlib>
#include <new>

#include "fault_plan.h"

namespace {

bool IsRefused() {
    const bool isRefused = FaultPlan::MemoryFails();
    if (isRefused) {
        errno = ENOMEM;
    }
    return isRefused;
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define REAL(function) function
// A sanitizer's own malloc is needed before this program is ready for anything.
#else
#define REAL(function) __libc_##function
extern "C" {
void* REAL(malloc)(size_t size);
void* REAL(calloc)(size_t count, size_t size);
void* REAL(realloc)(void* memory, size_t size);
}

void* malloc(size_t size) {
    return IsRefused() ? nullptr : REAL(malloc)(size);
}
void* calloc(size_t count, size_t size) {
    return IsRefused() ? nullptr : REAL(calloc)(count, size);
}
void* realloc(void* memory, size_t size) {
    return IsRefused() ? nullptr : REAL(realloc)(memory, size);
}
#endif

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return IsRefused() ? nullptr : REAL(malloc)(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void* operator new(size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void operator delete(void* memory) noexcept {
    free(memory);
}
void operator delete(void* memory, size_t /*size*/) noexcept {
    free(memory);
}
void operator delete[](void* memory) noexcept {
    free(memory);
}
void operator delete[](void* memory, size_t /*size*/) noexcept {
    free(memory);
}
