#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "FakePlatform.h"

/// What happens in a minute in which the service has to do all that it can: pads come, are used and go, games take the
/// focus, settings change, applications are launched, the screensaver shows, the device sleeps; at its end a key is
/// held and the service is told to end.
///
/// Threads  the constructor's before the service; Next on the dispatcher's thread, in its pauses.
class Minute {
public:
    using Milliseconds = std::chrono::milliseconds;

    /// `directory` holds the app configuration file that WriteConfiguration wrote.
    Minute(FakePlatform& platform, const std::string& directory);

    /// Does the next thing; how long the pause was. After the last one, nothing.
    Milliseconds Next();
    bool IsOver() const { return next_ == steps_.size(); }

    static void WriteConfiguration(const std::string& directory);

private:
    void Do(std::function<void()> step, Milliseconds pause = Milliseconds(50));
    void Event(const char* pad, int type, int code, int value, Milliseconds pause = Milliseconds(50));
    void Tap(const char* pad, int button, Milliseconds pause = Milliseconds(50));
    void UsePads();
    void UseHome();
    void HoldCombination();
    void LaunchApplications();
    void ComeAndGo();
    void SleepAndWake();
    void Play();
    void End();
    void Change(const std::string& key, const Setting& value);

    struct Step {
        std::function<void()> action;
        Milliseconds pause;
    };
    FakePlatform& platform_;
    std::vector<Step> steps_;
    size_t next_ = 0;
};
