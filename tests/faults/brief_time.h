#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <vector>

#include <pthread.h>
#include <sys/time.h>

/// The time of the service in a test that lives a minute of it in a moment.
///
/// It moves when the dispatcher's thread pauses, by as much as the test says; that thread then also does what the test
/// wants to happen in between. When nobody moves it for a while, as in a start that fails or a shutdown, it jumps to
/// where the next sleeper is due.
///
/// Threads   any; one at a time, for the whole life of the process.
class BriefTime {
public:
    using Milliseconds = std::chrono::milliseconds;
    using Microseconds = std::chrono::microseconds;

    /// Runs on the thread that makes the first pause, in each of its pauses; returns how long the pause was.
    using InPause = std::function<Milliseconds()>;
    static void Begin(InPause inPause);

    // What the service's calls of the C library do.
    static timeval Now();
    static void Pause(Microseconds time);
    /// As pthread_cond_timedwait. The mutex is the semaphores'.
    static int Wait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec& deadline);
    /// The calling thread goes to rest without a time-out.
    static void NoteRest();
};
