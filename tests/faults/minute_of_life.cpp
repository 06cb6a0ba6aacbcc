#include <dirent.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <platform/dlog.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include "brief_time.h"
#include "minute.h"
#include "service_access.h"
#include "trial.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

extern "C" int quorvex_main();

namespace {

size_t CountEntries(const char* directory) {
    DIR* const opened = opendir(directory);
    size_t count = 0;
    while (opened != nullptr && readdir(opened) != nullptr) {
        ++count;
    }
    closedir(opened);
    return count;
}

/// One of its own appears as soon as there are threads.
#if defined(__SANITIZE_THREAD__)
constexpr size_t kSanitizersThreads = 1;
#else
constexpr size_t kSanitizersThreads = 0;
#endif

struct Possessions {
    size_t descriptors = CountEntries("/proc/self/fd");
    size_t threads = CountEntries("/proc/self/task");
};

/// Waits for threads that have done their work and are not quite gone; the detached ones are nobody's to join.
bool HaveThreadsEnded(size_t threads) {
    constexpr int kMilliseconds = 20000;
    for (int i = 0; i < kMilliseconds && CountEntries("/proc/self/task") > threads; ++i) {
        usleep(1000);
    }
    return CountEntries("/proc/self/task") <= threads;
}

bool HasLeaks() {
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

/// One life, from the platform's beginning to its end, and what it leaves in it.
class Life {
public:
    Life(const Fault& fault, const std::string& directory, Outcome& outcome)
        : fault_(fault), outcome_(outcome), minute_(platform_, directory) {
        platform_.AllowErrors();
        platform_.AllowAsserts();
        platform_.AllowViolations();
    }

    void Live() {
        NoteFirstTurn();
        BriefTime::Begin([this] { return Pause(); });
        Arm();
        status_ = quorvex_main();
        FaultPlan::Disarm();
        TakeDown();
        Count();
        Judge();
    }

private:
    void Arm() {
        const bool isPlatforms = CallRecorder::Functions().count(fault_.function) != 0;
        if (isPlatforms && fault_.nth > 0) {
            platform_.FailOn(fault_.function, fault_.nth);
        }
        FaultPlan::Arm(fault_);
    }

    /// The minute begins once the main loop turns: what comes before it finds no loop to end.
    void NoteFirstTurn() {
        const auto note = [](gpointer self) -> gboolean {
            static_cast<Life*>(self)->OnFirstTurn();
            return G_SOURCE_REMOVE;
        };
        g_idle_add(note, this);
    }
    void OnFirstTurn() {
        turns_ = true;
        // A thread that is refused its library before there is a loop ends nothing, and there is no minute to live.
        if (Said("Call[gamepad_open_for_custom_mode(")) {
            kill(getpid(), SIGTERM);
        }
    }
    /// The passes before the minute and after it depend on how quick the main thread is: there is one of each.
    Minute::Milliseconds Pause() {
        if (!turns_) {
            Await([this] { return turns_ || HasFailedToStart(); });
            return Minute::Milliseconds(0);
        }
        const Minute::Milliseconds pause = minute_.Next();
        if (minute_.IsOver()) {
            Await([this] { return Said("Wait [GamepadEventDispatcher] thread exit..."); });
        }
        return pause;
    }
    /// Where the dispatcher's thread may run already, and is waited for.
    bool HasFailedToStart() const {
        return Said("Create[GamepadMonitor] thread failed!") || Said("Create[SignalRelay]failed!") ||
               Said("gLoop is NULL!");
    }
    template <class Condition>
    static void Await(Condition holds) {
        constexpr timespec kShortly{0, 200000};
        for (int i = 0; i < 50000 && !holds(); ++i) {
            nanosleep(&kShortly, nullptr);
        }
    }

    /// What a start without a main loop leaves as it is, and what late notices have built.
    void TakeDown() {
        if (fault_.function == "g_main_loop_new") {
            TakeServiceDown();
        }
        platform_.WaitUntilNoticesTold();
        platform_.WaitUntilAppStatusTold();
        DestroyInstances();
    }

    void Count() {
        outcome_.counts = FaultPlan::Counts();
        for (const std::string& function : CallRecorder::Functions()) {
            outcome_.counts[function] = platform_.CallCount(function);
        }
        outcome_.isReached = fault_.nth > 0 && outcome_.counts[fault_.function] >= fault_.nth;
    }

    void Judge() {
        if (fault_.function == "memory") {
            JudgeMemory();
        } else {
            JudgeConsequence(outcome_.isReached ? ConsequenceOf(fault_) : Consequence{});
        }
    }

    /// Without memory the service may go on or not, but it says which.
    void JudgeMemory() {
        Expect(status_ == 0 || status_ == -1, "the exit status is " + std::to_string(status_));
        const bool hasSaid = status_ == 0 ? Said("quorvex Exit") : Said("Call[Initialize]err") || Said("failed!");
        Expect(hasSaid, "the exit status is " + std::to_string(status_) + ", and no message says why");
        JudgeRest({});
    }

    void JudgeConsequence(const Consequence& consequence) {
        Expect(status_ == consequence.status, "the exit status is " + std::to_string(status_));
        Expect(Said(consequence.message), "no message says: " + consequence.message);
        Expect(status_ != 0 || Said("quorvex Exit"), "no message tells of the exit");
        Expect(status_ == 0 || fault_.function == "g_main_loop_new" || Said("Call[Initialize]err") ||
                   Said("Create[SignalRelay]failed!"),
               "no message tells of the failed start");
        Expect(fault_.nth > 0 || minute_.IsOver(), "the minute is not over");
        JudgeRest(consequence);
    }

    void JudgeRest(const Consequence& consequence) {
        for (const std::string& left : platform_.Leftovers()) {
            const auto& stays = consequence.stays;
            Expect(std::find(stays.begin(), stays.end(), left) != stays.end(), "left behind: " + left);
        }
        for (const std::string& violation : platform_.TakeViolations()) {
            Expect(consequence.mayMisuse, "the platform was misused: " + violation);
        }
    }

    void Expect(bool holds, const std::string& otherwise) {
        if (!holds) {
            outcome_.problems.push_back(otherwise);
        }
    }

    bool Said(const std::string& part) const {
        const std::vector<std::string> messages = platform_.LogMessages();
        return std::any_of(messages.begin(), messages.end(),
                           [&](const std::string& message) { return message.find(part) != std::string::npos; });
    }

    const Fault& fault_;
    Outcome& outcome_;
    FakePlatform platform_;
    Minute minute_;
    std::atomic<bool> turns_{false};
    int status_ = 0;
};

}  // namespace

Outcome LiveAMinute(const Fault& fault, const std::string& directory) {
    Outcome outcome{fault, false, {}, {}};
    g_main_context_wakeup(g_main_context_default());  // it keeps a descriptor for ever
    const Possessions before;
    std::make_unique<Life>(fault, directory, outcome)->Live();
    if (!HaveThreadsEnded(before.threads + kSanitizersThreads)) {
        outcome.problems.emplace_back("a thread is left");
    }
    if (CountEntries("/proc/self/fd") != before.descriptors) {
        outcome.problems.emplace_back("a descriptor is left");
    }
    if (HasLeaks()) {
        outcome.problems.emplace_back("memory is left");
    }
    if (testing::Test::HasFailure()) {
        outcome.problems.emplace_back("the double is not content");
    }
    return outcome;
}
