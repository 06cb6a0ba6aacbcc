/// What the suite needs from each implementation of the platform.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

/// How long the suite waits for what must happen; long enough for a loaded machine and a sanitizer.
constexpr std::chrono::seconds kDeadline{60};

/// The platform in fresh surroundings: no pad, no setting, no application. One at a time, on one thread.
class PlatformUnderTest {
public:
    PlatformUnderTest();
    ~PlatformUnderTest();
    PlatformUnderTest(const PlatformUnderTest&) = delete;
    PlatformUnderTest& operator=(const PlatformUnderTest&) = delete;

    /// The one pad: it has buttons and an x axis that goes from a negative value to a positive one.
    void PlugPad();
    void UnplugPad();
    /// Of a button of the pad, which is open.
    void PressAndRelease();
    /// The store knows an application of this title from now on.
    void Install(const std::string& title);

    /// There is a session from now on, in which the following happen, once somebody is told of them.
    void StartSession();
    /// One more game, which gets the focus.
    void OpenGame();
    /// Also from standby.
    void EnterStandby();
    void ShowScreensaver();

private:
    struct Surroundings;
    std::unique_ptr<Surroundings> surroundings_;
};

/// A number that several threads change and that is waited for.
class Counter {
public:
    void Add() {
        const std::lock_guard<std::mutex> hold(lock_);
        ++count_;
        changed_.notify_all();
    }
    /// False: not so many in time.
    bool WaitFor(int count) {
        std::unique_lock<std::mutex> hold(lock_);
        return changed_.wait_for(hold, kDeadline, [&] { return count_ >= count; });
    }
    int Count() {
        const std::lock_guard<std::mutex> hold(lock_);
        return count_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    int count_ = 0;
};
