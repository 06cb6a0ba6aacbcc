#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "CallRecorder.h"

/// The time by which the service's threads wait and pause. It stands still from the start and moves only as the test
/// says, so that a wait of 30 s takes no time and ends exactly when it should.
///
/// Stopped   time-outs of semaphores, and the pauses of the thread that measures combinations. The dispatcher's pauses
///           go on, but for 1 ms instead of 50, so that tests are quick.
/// Threads   any; one clock at a time. Make it before the service, and let it run before the service ends.
/// Names     threads are named as the kernel knows them: the first 15 characters.
class ServiceClock {
public:
    using Milliseconds = std::chrono::milliseconds;

    ServiceClock();
    ~ServiceClock();
    ServiceClock(const ServiceClock&) = delete;
    ServiceClock& operator=(const ServiceClock&) = delete;

    void Advance(Milliseconds time);
    /// Real time from now on; whoever waits starts over.
    void LetRun();

    /// How often threads of this name have gone to sleep while the clock stood still.
    int Naps(const std::string& thread) const;
    bool WaitForNap(const std::string& thread, int nap = 1) const;
    /// Moves on by what makes the sleeping thread wake up; true as soon as it sleeps again.
    bool AdvanceToNextNap(const std::string& thread, Milliseconds time);

    // For the functions that stand in for the C library's.
    using Microseconds = std::chrono::microseconds;
    bool Stands() const;
    Microseconds Now() const;
    void NoteNap();
    /// Returns once the clock has come to that time, or runs.
    void SleepUntil(Microseconds time);

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool stands_ = true;
    Microseconds now_;
    std::map<std::string, int> naps_;
};
