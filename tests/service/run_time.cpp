#include "run_time.h"

#include <glib.h>
#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <new>

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int threadsToGo = 0;
    size_t refusedSize = 0;
    bool mainLoopRefused = false;
    std::map<std::string, std::function<void()>> hooks;
    std::map<std::string, int> loopCalls;
    std::vector<Pause> pauses;
};

/// Never destroyed: threads may call until the process is gone.
State& TheState() {
    static auto& state = *new State;
    return state;
}

void Reset() {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.threadsToGo = 0;
    state.refusedSize = 0;
    state.mainLoopRefused = false;
    state.hooks.clear();
    state.loopCalls.clear();
    state.pauses.clear();
}

void WriteToTimeline(const std::string& function) {
    const FakePlatform::Visit visit;
    if (visit.platform() != nullptr) {
        const auto lock = visit.platform()->Lock();
        visit.platform()->AppendToTimelineLocked(function + "()");
    }
}

void EnterLoopCall(const std::string& function) {
    WriteToTimeline(function);
    State& state = TheState();
    std::function<void()> hook;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        ++state.loopCalls[function];
        hook = state.hooks[function];
        state.changed.notify_all();
    }
    if (hook) {
        hook();
    }
}

bool MainLoopRefused() {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.mainLoopRefused;
}

bool ThreadRefused() {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.threadsToGo > 0 && --state.threadsToGo == 0;
}

bool MemoryRefused(size_t size) {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.refusedSize != 0 && state.refusedSize == size;
}

void NotePause(unsigned microseconds) {
    char thread[16] = {};
    pthread_getname_np(pthread_self(), thread, sizeof thread);
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.pauses.push_back({microseconds, thread});
    state.changed.notify_all();
}

}  // namespace

RunTime::RunTime() {
    Reset();
}
RunTime::~RunTime() {
    Reset();
}

void RunTime::RefuseThread(int nth) {
    const std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().threadsToGo = nth;
}
void RunTime::RefuseMemory(size_t size) {
    const std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().refusedSize = size;
}
void RunTime::RefuseMainLoop() {
    const std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().mainLoopRefused = true;
}
void RunTime::Before(const std::string& function, std::function<void()> hook) {
    const std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().hooks[function] = std::move(hook);
}

bool RunTime::WaitForLoopCall(const std::string& function, int count) const {
    State& state = TheState();
    std::unique_lock<std::mutex> lock(state.mutex);
    return state.changed.wait_for(lock, kSoon, [&] { return state.loopCalls[function] >= count; });
}

std::vector<Pause> RunTime::Pauses() const {
    const std::lock_guard<std::mutex> lock(TheState().mutex);
    return TheState().pauses;
}

bool RunTime::WaitForPauses(const std::string& thread, size_t count) const {
    State& state = TheState();
    std::unique_lock<std::mutex> lock(state.mutex);
    return state.changed.wait_for(lock, kSoon, [&] {
        return static_cast<size_t>(std::count_if(state.pauses.begin(), state.pauses.end(),
                                                 [&](const Pause& pause) { return pause.thread == thread; })) >= count;
    });
}

// Here the service's calls arrive: the linker renames them, and the real functions, in this program.
extern "C" {

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument);
int __real_usleep(unsigned microseconds);
GMainLoop* __real_g_main_loop_new(GMainContext* context, gboolean running);
void __real_g_main_loop_run(GMainLoop* loop);
void __real_g_main_loop_quit(GMainLoop* loop);
void __real_g_main_loop_unref(GMainLoop* loop);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept;

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    return ThreadRefused() ? EAGAIN : __real_pthread_create(thread, attributes, start, argument);
}

int __wrap_usleep(unsigned microseconds) {
    constexpr unsigned kHaste = 20;
    NotePause(microseconds);
    return __real_usleep(microseconds / kHaste);
}

GMainLoop* __wrap_g_main_loop_new(GMainContext* context, gboolean running) {
    EnterLoopCall("g_main_loop_new");
    return MainLoopRefused() ? nullptr : __real_g_main_loop_new(context, running);
}

void __wrap_g_main_loop_run(GMainLoop* loop) {
    EnterLoopCall("g_main_loop_run");
    __real_g_main_loop_run(loop);
}

void __wrap_g_main_loop_quit(GMainLoop* loop) {
    EnterLoopCall("g_main_loop_quit");
    __real_g_main_loop_quit(loop);
}

void __wrap_g_main_loop_unref(GMainLoop* loop) {
    EnterLoopCall("g_main_loop_unref");
    __real_g_main_loop_unref(loop);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept {
    return MemoryRefused(size) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

}  // extern "C"
