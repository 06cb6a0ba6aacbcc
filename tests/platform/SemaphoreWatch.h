#pragma once

#include <string>

/// What threads do with the service's semaphores. It learns that from the functions that stand in for the thread
/// library's in a test program. Any thread may call anything.
class SemaphoreWatch {
public:
    /// The calling thread takes, or gives back, a mutex: the one of all semaphores or another.
    static void NoteLock(bool isOfSemaphores);
    static void NoteUnlock(bool isOfSemaphores);
    /// The calling thread holds the semaphores' mutex and none that it took since, as the platform double would. So
    /// memory that it asks for is a new semaphore's.
    static bool IsInSemaphore();

    /// While it lives, the calling thread waits for a semaphore without a time-out.
    class Rest {
    public:
        Rest();
        ~Rest();
        Rest(const Rest&) = delete;
        Rest& operator=(const Rest&) = delete;

    private:
        std::string thread_;
    };
    /// True as soon as a thread of this name (the first 15 characters) rests. One that was just woken may count still.
    static bool WaitForRest(const std::string& thread);
};
