#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <platform/dlog.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "ServiceProcess.h"
#include "run_time.h"

/// The kernel's names of the threads that a service test meets.
constexpr char kMainThread[] = "quorvex";
constexpr char kDispatcherThread[] = "GamepadEventDis";
constexpr char kGamepadLibrary[] = "gamepad-lib";

/// How long a test watches that something does not happen. Too short a time hides a fault; it never invents one.
constexpr std::chrono::milliseconds kForAWhile{120};

/// Matches texts that hold all of `wanted` in that order; others may stand between them.
MATCHER_P(ContainsInOrder, wanted, "holds them all in order: " + testing::PrintToString(wanted)) {
    auto at = arg.begin();
    for (const std::string& text : wanted) {
        at = std::find(at, arg.end(), text);
        if (at == arg.end()) {
            *result_listener << "the first that is missing: " << text;
            return false;
        }
        ++at;
    }
    return true;
}
using Texts = std::vector<std::string>;

/// A door in a call: who comes to it waits until the test opens it. It stays open after its end.
class Door {
public:
    ~Door() { Open(); }

    /// The hook to put into the call.
    std::function<void()> Hook() const {
        return [state = state_] { state->Pass(); };
    }
    /// The same for the recorder's hooks; with an argument, only calls that have it stop at the door.
    std::function<void(const Call&)> CallHook(const std::string& argument = "") const {
        return [state = state_, argument](const Call& call) {
            const auto& all = call.arguments;
            if (argument.empty() || std::find(all.begin(), all.end(), argument) != all.end()) {
                state->Pass();
            }
        };
    }
    bool WaitForVisitor() const {
        std::unique_lock<std::mutex> lock(state_->mutex);
        return state_->changed.wait_for(lock, kSoon, [this] { return state_->visitors > 0; });
    }
    void Open() {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->open = true;
        state_->changed.notify_all();
    }

private:
    struct State {
        void Pass() {
            std::unique_lock<std::mutex> lock(mutex);
            ++visitors;
            changed.notify_all();
            EXPECT_TRUE(changed.wait_for(lock, 2 * kSoon, [this] { return open; })) << "nobody opens the door";
        }
        std::mutex mutex;
        std::condition_variable changed;
        int visitors = 0;
        bool open = false;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Where messages with this text came from, in their order: "GamepadMonitor.cpp: GamepadMonitor", ...
inline Texts PlacesOf(const FakePlatform& platform, const std::string& message) {
    Texts places;
    for (const LogLine& line : platform.LogLines()) {
        if (line.message == message) {
            places.push_back(line.where);
        }
    }
    return places;
}

/// The double and the run time; the test starts the program itself. There is no app configuration file.
class WholeProgram : public testing::Test {
protected:
    WholeProgram() { platform.AllowError("app_config.json] doesn't exist"); }

    FakePlatform platform;
    RunTime runTime;
};

/// The program runs already, in menu mode and without pads, unless `Prepare` arranges something else.
class RunningService : public WholeProgram {
protected:
    void SetUp() override {
        Prepare();
        process = std::make_unique<ServiceProcess>(platform);
        ASSERT_TRUE(process->WaitUntilRunning());
    }
    virtual void Prepare() {}

    /// Connects a pad and waits until it is polled.
    void Plug(const std::string& uid, const PadShape& shape = {}) {
        platform.Connect(uid, shape);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
        ASSERT_TRUE(platform.WaitForOpenPad(uid));
    }
    /// A change of the focus, and waits until the service has dealt with it.
    void Focus(int pid) {
        platform.SendAppStatus(pid, 5);
        ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    }
    /// A game has the focus, so menu mode is off.
    void PlayGame(int pid) {
        platform.SetApp(pid, "game." + std::to_string(pid), 2);
        platform.SendGameAppNotice(GAMEAPP_OPENED, pid);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }

    std::unique_ptr<ServiceProcess> process;
};
