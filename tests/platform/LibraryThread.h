#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

/// One platform library's own thread: delivers what it is given, in order, for the double's whole life.
/// It blocks all signals, as a platform's threads do. Any thread may call.
class LibraryThread {
public:
    explicit LibraryThread(const std::string& name);
    ~LibraryThread() { Stop(); }
    LibraryThread(const LibraryThread&) = delete;
    LibraryThread& operator=(const LibraryThread&) = delete;

    void Post(std::function<void()> task);
    /// True as soon as everything posted before has been delivered; true at once on the library's own thread.
    bool WaitUntilIdle(std::chrono::milliseconds atMost) const;
    /// Drops what is not delivered yet and waits for the delivery that is under way.
    void Stop();

private:
    void Deliver(const std::string& name);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool delivering_ = false;
    bool stopped_ = false;
    std::thread thread_;
};
