#pragma once

#include <pthread.h>

#include <chrono>
#include <string>
#include <vector>

/// Makes the thread library, the clock, the sleep and the allocator of this test program fail or wait as a test says.
///
/// A fault concerns the calling thread only, and only what the service calls: mutexes and conditions count when they
/// are those of the semaphores. Everything else works as ever. The link options that put this in place stand in
/// CMakeLists.txt; one Faults object at a time, and it takes back everything at its end.
class Faults {
public:
    Faults() = default;
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// The n-th next call of this thread returns `result`. pthread_mutex_lock, _unlock and pthread_cond_destroy,
    /// _signal do their work all the same, since the caller goes on as if they had succeeded; the others do not.
    void FailNext(const std::string& function, int result, int nth = 1);
    /// The n-th next semaphore or instance that this thread creates gets no memory.
    void FailNextAllocation(int nth = 1);

    /// From now on this thread reads this wall clock; each reading adds `step` microseconds.
    void SetClock(long seconds, long microseconds, long step = 0);
    /// Timed waits of this thread return these results at once, one after the other; then they wait again.
    void AnswerTimedWaits(std::vector<int> results);
    /// The deadlines of all timed waits of this thread so far.
    static std::vector<timespec> Deadlines();

    /// Names that were given to threads with prctl, by any thread.
    static std::vector<std::string> NamesSet();

    /// How many waits for a semaphore have begun in this program.
    static int WaitsBegun();
    static bool WaitForWaits(int count, std::chrono::milliseconds atMost);
    /// The same, for waits with a time-out only.
    static int TimedWaitsBegun();
    static bool WaitForTimedWaits(int count, std::chrono::milliseconds atMost);
};

/// While it lives, every usleep of the service waits for the test: a loop runs one round for each Step.
class SleepStepper {
public:
    SleepStepper();
    ~SleepStepper();
    SleepStepper(const SleepStepper&) = delete;
    SleepStepper& operator=(const SleepStepper&) = delete;

    /// True as soon as a thread sleeps.
    bool WaitForSleeper();
    /// Ends that sleep and waits for the next one, `times` times. False when a deadline passes.
    bool Step(int times = 1);
    static unsigned LastSleepMicroseconds();
};
