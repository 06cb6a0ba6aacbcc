// A library to preload: one call of the program, or of a library that works for it, fails.
//
// QUORVEX_FAULT=function:n     the nth call, the first being 1, from the beginning of main to its end
// QUORVEX_FAULT_TRACE=1        tells on standard error where that call was
// QUORVEX_FAULT_COUNTS=file    where it writes how often each was called
//
// No header that declares the functions below is included: some have variable arguments there.

#include <dlfcn.h>
#include <execinfo.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
int dprintf(int file, const char* format, ...);
int creat(const char* path, unsigned mode);
}

namespace {

enum Kind {
#define CALL(result, name, parameters, arguments, error, failure) k_##name,
#include "system_calls.def"
#undef CALL
    k_malloc,
    k_write,
    kKinds
};
constexpr const char* kNames[] = {
#define CALL(result, name, parameters, arguments, error, failure) #name,
#include "system_calls.def"
#undef CALL
    "malloc", "write"};

std::atomic<bool> counting{false};
std::atomic<int> counts[kKinds];
int failingKind = -1;
int failingCall = 0;

bool IsIn(const char* library, const void* caller) {
    Dl_info info{};
    return dladdr(caller, &info) != 0 && info.dli_fname != nullptr && strstr(info.dli_fname, library) != nullptr;
}

/// What makes a replayed pad of a file is no part of the program. The loader and GLib end the process when they get no
/// memory, and GLib takes its wake-ups for certain, which the kernel never refuses.
bool IsOfOthers(const void* caller, Kind kind) {
    return IsIn("umockdev", caller) || IsIn("libglib", caller) || (kind == k_malloc && IsIn("ld-linux", caller));
}

void Trace() {
    constexpr int kDepth = 40;
    constexpr int kStandardError = 2;
    void* callers[kDepth];
    counting = false;
    backtrace_symbols_fd(callers, backtrace(callers, kDepth), kStandardError);
    counting = true;
}

bool Fails(Kind kind, const void* caller, int error) {
    if (!counting || IsOfOthers(caller, kind)) {
        return false;
    }
    if (++counts[kind] != failingCall || kind != failingKind) {
        return false;
    }
    if (getenv("QUORVEX_FAULT_TRACE") != nullptr) {
        Trace();
    }
    errno = error;
    return true;
}

void Begin() {
    const char* const fault = getenv("QUORVEX_FAULT");
    const char* const colon = fault == nullptr ? nullptr : strchr(fault, ':');
    for (int kind = 0; colon != nullptr && kind < kKinds; ++kind) {
        if (strlen(kNames[kind]) == static_cast<size_t>(colon - fault) &&
            strncmp(fault, kNames[kind], static_cast<size_t>(colon - fault)) == 0) {
            failingKind = kind;
            failingCall = atoi(colon + 1);
        }
    }
    counting = true;
}

void End() {
    counting = false;
    const char* const path = getenv("QUORVEX_FAULT_COUNTS");
    const int file = path == nullptr ? -1 : creat(path, 0600);
    for (int kind = 0; file >= 0 && kind < kKinds; ++kind) {
        dprintf(file, "%s %d\n", kNames[kind], counts[kind].load());
    }
}

using Main = int(int, char**, char**);
Main* programsMain = nullptr;

int CountingMain(int count, char** arguments, char** environment) {
    Begin();
    const int status = programsMain(count, arguments, environment);
    End();
    return status;
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int __libc_start_main(Main* main, int count, char** arguments, void (*begin)(), void (*end)(), void (*unload)(),
                      void* stack) {
    programsMain = main;
    static auto* const next = Next<decltype(__libc_start_main)>("__libc_start_main");
    return next(CountingMain, count, arguments, begin, end, unload, stack);
}

#define CALL(result, name, parameters, arguments, error, failure)  \
    result name parameters {                                       \
        static auto* const next = Next<result parameters>(#name);  \
        if (Fails(k_##name, __builtin_return_address(0), error)) { \
            return failure;                                        \
        }                                                          \
        return next arguments;                                     \
    }
#include "system_calls.def"
#undef CALL

// Eight bytes are a wake-up by an eventfd: the kernel never refuses one.
long write(int file, const void* buffer, size_t size) {
    static auto* const next = Next<long(int, const void*, size_t)>("write");
    const bool isWakeUp = size == sizeof(uint64_t);
    return !isWakeUp && Fails(k_write, __builtin_return_address(0), EIO) ? -1 : next(file, buffer, size);
}

// What replays the pad blocks all signals while it works, and keeps where it began in one place for all threads: when
// two of them are in it at once, one stays deaf.
int pthread_sigmask(int how, const void* set, void* before) {
    static auto* const next = Next<int(int, const void*, void*)>("pthread_sigmask");
    return IsIn("umockdev", __builtin_return_address(0)) ? 0 : next(how, set, before);
}

void* malloc(size_t size) {
    return Fails(k_malloc, __builtin_return_address(0), ENOMEM) ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return Fails(k_malloc, __builtin_return_address(0), ENOMEM) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    return Fails(k_malloc, __builtin_return_address(0), ENOMEM) ? nullptr : __libc_realloc(memory, size);
}

}  // extern "C"
