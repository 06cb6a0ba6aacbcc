// Here the service's own calls of the thread library, the C library and GLib arrive, under new names.
//
// A call that fails does what it would do where its caller goes on as if it had succeeded: locks are taken and given
// back, conditions signalled, attributes destroyed. The others do nothing.

#include <glib.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <memory>

#include "brief_time.h"
#include "fault_plan.h"
#include "service_access.h"

namespace {

/// -1 and the error number when the call fails, else what it does.
template <class Call>
int OrError(FaultPlan::Kind kind, int error, Call call) {
    if (FaultPlan::Fails(kind)) {
        errno = error;
        return -1;
    }
    return call();
}

/// The result of a call that fails only after having done its work.
int AfterAll(FaultPlan::Kind kind, int error, int result) {
    return FaultPlan::Fails(kind) ? error : result;
}

/// What a new thread runs.
struct Start {
    void* (*body)(void*);
    void* argument;
};

Start* NewStart(void* (*body)(void*), void* argument) {
    const FaultPlan::Outside outside;
    return new Start{body, argument};
}

void* RunThread(void* given) {
    const Start start = *static_cast<Start*>(given);
    delete static_cast<Start*>(given);
    void* const result = start.body(start.argument);
    // What libraries do when the thread is gone is not the service's.
    FaultPlan::NoteThreadEnds();
    return result;
}

}  // namespace

extern "C" {

int faulty_access(const char* path, int mode);
int faulty_gettimeofday(timeval* now, void* zone);
int faulty_nanosleep(const timespec* time, timespec* left);
int faulty_prctl(int option, const char* name, unsigned long, unsigned long, unsigned long);
int faulty_pthread_attr_destroy(pthread_attr_t* attributes);
int faulty_pthread_attr_init(pthread_attr_t* attributes);
int faulty_pthread_attr_setstacksize(pthread_attr_t* attributes, size_t size);
int faulty_pthread_cond_broadcast(pthread_cond_t* condition);
int faulty_pthread_cond_destroy(pthread_cond_t* condition);
int faulty_pthread_cond_signal(pthread_cond_t* condition);
int faulty_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int faulty_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int faulty_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int faulty_pthread_mutex_destroy(pthread_mutex_t* mutex);
int faulty_pthread_mutex_lock(pthread_mutex_t* mutex);
int faulty_pthread_mutex_unlock(pthread_mutex_t* mutex);
int faulty_sem_post(sem_t* semaphore);
int faulty_sem_wait(sem_t* semaphore);
int faulty_stat(const char* path, struct stat* status);
int faulty_stat64(const char* path, struct stat64* status);
int faulty_usleep(useconds_t time);
GMainLoop* faulty_g_main_loop_new(GMainContext* context, gboolean running);
void faulty_g_main_loop_run(GMainLoop* loop);
void faulty_g_main_loop_quit(GMainLoop* loop);
void faulty_g_main_loop_unref(GMainLoop* loop);

int faulty_access(const char* path, int mode) {
    return OrError(FaultPlan::kAccess, EACCES, [&] { return access(path, mode); });
}

int faulty_gettimeofday(timeval* now, void* /*zone*/) {
    return OrError(FaultPlan::kClock, EFAULT, [&] { return *now = BriefTime::Now(), 0; });
}

int faulty_nanosleep(const timespec* time, timespec* left) {
    return OrError(FaultPlan::kNanosleep, EINVAL, [&] { return nanosleep(time, left); });
}

int faulty_prctl(int option, const char* name, unsigned long /*unused*/, unsigned long /*unused*/,
                 unsigned long /*unused*/) {
    return OrError(FaultPlan::kThreadName, EPERM, [&] { return prctl(option, name, 0UL, 0UL, 0UL); });
}

int faulty_pthread_attr_destroy(pthread_attr_t* attributes) {
    return AfterAll(FaultPlan::kAttributesDestroy, EINVAL, pthread_attr_destroy(attributes));
}

int faulty_pthread_attr_init(pthread_attr_t* attributes) {
    return FaultPlan::Fails(FaultPlan::kAttributesInit) ? ENOMEM : pthread_attr_init(attributes);
}

int faulty_pthread_attr_setstacksize(pthread_attr_t* attributes, size_t size) {
    return FaultPlan::Fails(FaultPlan::kStackSize) ? EINVAL : pthread_attr_setstacksize(attributes, size);
}

int faulty_pthread_cond_broadcast(pthread_cond_t* condition) {
    return AfterAll(FaultPlan::kConditionBroadcast, EINVAL, pthread_cond_broadcast(condition));
}

int faulty_pthread_cond_destroy(pthread_cond_t* condition) {
    return AfterAll(FaultPlan::kConditionDestroy, EBUSY, pthread_cond_destroy(condition));
}

int faulty_pthread_cond_signal(pthread_cond_t* condition) {
    return AfterAll(FaultPlan::kConditionSignal, EINVAL, pthread_cond_signal(condition));
}

int faulty_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
    return FaultPlan::Fails(FaultPlan::kConditionTimedWait) ? EINVAL : BriefTime::Wait(condition, mutex, *deadline);
}

int faulty_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    if (FaultPlan::Fails(FaultPlan::kConditionWait)) {
        return EINVAL;
    }
    if (mutex == SemaphoresMutex()) {
        BriefTime::NoteRest();
    }
    return pthread_cond_wait(condition, mutex);
}

int faulty_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    if (FaultPlan::Fails(FaultPlan::kThreadCreate)) {
        return EAGAIN;
    }
    std::unique_ptr<Start> start(NewStart(body, argument));
    const int result = pthread_create(thread, attributes, RunThread, start.get());
    if (result == 0) {
        start.release();
    }
    return result;
}

int faulty_pthread_mutex_destroy(pthread_mutex_t* mutex) {
    return AfterAll(FaultPlan::kMutexDestroy, EBUSY, pthread_mutex_destroy(mutex));
}

int faulty_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const bool isSemaphores = mutex == SemaphoresMutex();
    const int result = pthread_mutex_lock(mutex);
    return AfterAll(isSemaphores ? FaultPlan::kSemaphoresLock : FaultPlan::kMutexLock, EINVAL, result);
}

int faulty_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const bool isSemaphores = mutex == SemaphoresMutex();
    const int result = pthread_mutex_unlock(mutex);
    return AfterAll(isSemaphores ? FaultPlan::kSemaphoresUnlock : FaultPlan::kMutexUnlock, EPERM, result);
}

// It fails when there are too many units, so whoever waits has one.
int faulty_sem_post(sem_t* semaphore) {
    const int result = sem_post(semaphore);
    return OrError(FaultPlan::kSemaphorePost, EOVERFLOW, [&] { return result; });
}

int faulty_sem_wait(sem_t* semaphore) {
    return OrError(FaultPlan::kSemaphoreWait, EINTR, [&] { return sem_wait(semaphore); });
}

int faulty_stat(const char* path, struct stat* status) {
    return OrError(FaultPlan::kStat, EACCES, [&] { return stat(path, status); });
}

int faulty_stat64(const char* path, struct stat64* status) {
    return OrError(FaultPlan::kStat, EACCES, [&] { return stat64(path, status); });
}

// One that fails has been interrupted, at once.
int faulty_usleep(useconds_t time) {
    return OrError(FaultPlan::kUsleep, EINTR, [&] { return BriefTime::Pause(std::chrono::microseconds(time)), 0; });
}

GMainLoop* faulty_g_main_loop_new(GMainContext* context, gboolean running) {
    const FaultPlan::Outside outside;
    return FaultPlan::Fails(FaultPlan::kMainLoopNew) ? nullptr : g_main_loop_new(context, running);
}

void faulty_g_main_loop_run(GMainLoop* loop) {
    const FaultPlan::Outside outside;
    g_main_loop_run(loop);
}

void faulty_g_main_loop_quit(GMainLoop* loop) {
    const FaultPlan::Outside outside;
    g_main_loop_quit(loop);
}

void faulty_g_main_loop_unref(GMainLoop* loop) {
    const FaultPlan::Outside outside;
    g_main_loop_unref(loop);
}

}  // extern "C"
