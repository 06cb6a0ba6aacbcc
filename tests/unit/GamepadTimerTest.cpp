#include "GamepadTimer.h"

#include <gmock/gmock.h>
#include <platform/dlog.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "FakePlatform.h"
#include "Faults.h"
#include "SemaphoreWatch.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr unsigned long kShort = 100;
constexpr unsigned long kLong = 600000;
/// How long a test watches that something does not happen. Too short a time hides a fault; it never invents one.
constexpr milliseconds kForAWhile{50};

class Alarm : public GCCallback {
public:
    void t_OnCallback(int event, void* first, void* second, void* third) override {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        thread = name;
        lastEvent = event;
        device = *static_cast<int*>(first);
        restIsNull = second == nullptr && third == nullptr;
        if (whileItRings) {
            whileItRings();
        }
        ++calls;
    }

    std::atomic<int> calls{0};
    int lastEvent = -1;
    int device = -1;
    bool restIsNull = false;
    std::string thread;
    std::function<void()> whileItRings;
};

constexpr char kThread[] = "gamepad-timer-t";
constexpr char kNotStarted[] = "Timer do not Start!";

class Timer : public testing::Test {
protected:
    // An idle timer's thread says so when it is woken to end.
    Timer() { platform.AllowError(kNotStarted); }
    ~Timer() override {
        if (timer.FlagCreate()) {
            timer.DestroyTimer();
        }
    }

    void Create(unsigned long waitMs, int device = 2) {
        ASSERT_TRUE(timer.CreateTimer(waitMs, device));
        timer.RegisterCallback(&alarm);
    }
    /// How often the thread has complained that it was woken for nothing.
    int Complaints() const { return platform.LogCount(DLOG_ERROR, kNotStarted); }
    bool SaidBy(int level, const std::string& operation, const std::string& message) const {
        return platform.Logged(level, "GamepadTimer.cpp: " + operation, message);
    }

    FakePlatform platform;
    Faults faults;
    Alarm alarm;
    GamepadTimer timer;
};

TEST_F(Timer, WaitsAtItsCreationUntilItsThreadRuns) {
    EXPECT_FALSE(timer.FlagCreate());
    Create(kLong);
    EXPECT_TRUE(timer.FlagCreate());
    EXPECT_TRUE(SaidBy(DLOG_INFO, "t_Main", "ENTER"));
    EXPECT_TRUE(SaidBy(DLOG_DEBUG, "CreateTimer", "m_semCreateSync.Take() to wait sub-thread run succcessfully"));
    EXPECT_TRUE(SaidBy(DLOG_DEBUG, "CreateTimer", "sub-thread run successfully! Exit"));
}

TEST_F(Timer, FiresOnceItsTimeHasRunOut) {
    Create(kShort, 3);
    const auto start = steady_clock::now();
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
    timer.DestroyTimer();
    EXPECT_GE(steady_clock::now() - start, milliseconds(kShort - 10));
    EXPECT_TRUE(SaidBy(DLOG_INFO, "t_Main", "Wait[100]ms!"));
    EXPECT_TRUE(SaidBy(DLOG_INFO, "t_Main", "Timeout!"));
    EXPECT_EQ(alarm.calls, 1);
    EXPECT_EQ(alarm.lastEvent, 0);
    EXPECT_EQ(alarm.device, 3);
    EXPECT_TRUE(alarm.restIsNull);
    EXPECT_EQ(alarm.thread, kThread);
}

TEST_F(Timer, DoesNotFireBeforeItIsStarted) {
    Create(1);
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kThread));
    EXPECT_EQ(Complaints(), 0);
    timer.DestroyTimer();
    EXPECT_EQ(alarm.calls, 0);
    EXPECT_EQ(Complaints(), 1);
    EXPECT_TRUE(SaidBy(DLOG_ERROR, "t_Main", kNotStarted));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Wait[1]ms!"), 0);
}

TEST_F(Timer, FindsNoFaultInItsTimeOut) {
    Create(kShort);
    for (int round = 1; round <= 3; ++round) {
        timer.StartTimer();
        ASSERT_TRUE(platform.WaitForLog("Timeout!", round));
        ASSERT_TRUE(SemaphoreWatch::WaitForRest(kThread));
    }
    EXPECT_EQ(Complaints(), 0);
    timer.DestroyTimer();
    EXPECT_EQ(Complaints(), 1) << "its end wakes it while it is not armed";
    EXPECT_EQ(alarm.calls, 3);
}

TEST_F(Timer, StoppedInTimeWakesUpAndDoesNotFire) {
    Create(kLong);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!"));
    timer.StopTimer();
    ASSERT_TRUE(platform.WaitForLog("Wake up!"));
    EXPECT_TRUE(SaidBy(DLOG_INFO, "t_Main", "Wake up!"));
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kThread));
    EXPECT_EQ(Complaints(), 0);
    EXPECT_EQ(alarm.calls, 0);
}

TEST_F(Timer, StoppedWhileItIsIdleDoesNotCutTheNextWaitShort) {
    Create(kShort);
    timer.StopTimer();
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Wake up!"), 0);
}

TEST_F(Timer, StoppedAfterItFiredDoesNothing) {
    Create(kShort);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
    while (alarm.calls == 0) {
        std::this_thread::yield();
    }
    timer.StopTimer();
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!", 2));
    timer.DestroyTimer();
    EXPECT_EQ(alarm.calls, 2);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Wake up!"), 0);
}

TEST_F(Timer, CanBeStartedAndStoppedOverAndOver) {
    Create(kLong);
    for (int round = 1; round <= 20; ++round) {
        timer.StartTimer();
        ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!", round));
        timer.StopTimer();
        ASSERT_TRUE(platform.WaitForLog("Wake up!", round));
    }
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kThread));
    EXPECT_EQ(Complaints(), 0);
    EXPECT_EQ(alarm.calls, 0);
}

TEST_F(Timer, StartedTwiceAndStoppedFindsItselfDisarmed) {
    Create(kLong);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!"));
    timer.StartTimer();
    timer.StopTimer();
    ASSERT_TRUE(platform.WaitForLog("Wake up!"));
    ASSERT_TRUE(platform.WaitForLog(kNotStarted));
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kThread));
    EXPECT_EQ(Complaints(), 1);
    EXPECT_TRUE(SaidBy(DLOG_ERROR, "t_Main", kNotStarted));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Wait[600000]ms!"), 1);
}

TEST_F(Timer, StoppedAndStartedDuringAWaitWaitsItsFullTimeAgain) {
    Create(kLong);
    const int before = Faults::TimedWaitsBegun();
    timer.StartTimer();
    ASSERT_TRUE(Faults::WaitForTimedWaits(before + 1, kSoon));
    timer.StopTimer();
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!", 2));
    EXPECT_EQ(alarm.calls, 0);
}

TEST_F(Timer, DestroyedWhileItWaitsEndsAtOnce) {
    Create(kLong);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!"));
    timer.DestroyTimer();
    EXPECT_FALSE(timer.FlagCreate());
    EXPECT_TRUE(SaidBy(DLOG_INFO, "DestroyTimer", "Exit DestroyTimer"));
    EXPECT_EQ(alarm.calls, 0);
}

TEST_F(Timer, CanBeCreatedAgainWithoutItsOldCallbacks) {
    Create(kLong);
    timer.DestroyTimer();
    ASSERT_TRUE(timer.CreateTimer(kShort, 1));
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
    timer.DestroyTimer();
    EXPECT_EQ(alarm.calls, 0);
}

TEST_F(Timer, MayBeGivenAnotherTime) {
    Create(kLong);
    EXPECT_EQ(timer.GetWaitMSec(), kLong);
    timer.SetWaitMSec(kShort);
    EXPECT_EQ(timer.GetWaitMSec(), kShort);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[100]ms!"));
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
}

TEST_F(Timer, TellsItsTimeOnlyBetweenItsWaits) {
    Create(kLong);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Wait[600000]ms!"));
    std::future<unsigned long> told = std::async(std::launch::async, [this] { return timer.GetWaitMSec(); });
    EXPECT_EQ(told.wait_for(kForAWhile), std::future_status::timeout);
    timer.StopTimer();
    EXPECT_EQ(told.get(), kLong);
}

TEST_F(Timer, TakesNoOtherTimeWhileItsCallbacksRun) {
    std::future<void> changed;
    alarm.whileItRings = [&] {
        changed = std::async(std::launch::async, [this] { timer.SetWaitMSec(kLong); });
        EXPECT_EQ(changed.wait_for(kForAWhile), std::future_status::timeout);
    };
    Create(kShort);
    timer.StartTimer();
    ASSERT_TRUE(platform.WaitForLog("Timeout!"));
    timer.DestroyTimer();
    ASSERT_EQ(alarm.calls, 1);
    changed.get();
    EXPECT_EQ(timer.GetWaitMSec(), kLong);
}

TEST_F(Timer, ThatDiesWithItsThreadReportsThatAndEndsIt) {
    {
        GamepadTimer mortal;
        ASSERT_TRUE(mortal.CreateTimer(kLong, 0));
        mortal.StartTimer();
    }
    EXPECT_TRUE(SaidBy(DLOG_INFO, "DestroyTimer", "Exit DestroyTimer"));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "GamepadTimer.cpp")));
}

struct Shortage {
    int allocation;  // of those that CreateTimer makes; the first is the registry's lock
    const char* semaphore;
};
class TimerWithoutMemory : public Timer, public testing::WithParamInterface<Shortage> {};

TEST_P(TimerWithoutMemory, NamesWhatItCouldNotCreateAndLeavesNothing) {
    faults.FailNextAllocation(GetParam().allocation);
    EXPECT_FALSE(timer.CreateTimer(kLong, 0));
    EXPECT_THAT(platform.TakeErrors(), ElementsAre("create " + std::string(GetParam().semaphore) + " ERROR!"));
    EXPECT_FALSE(timer.FlagCreate());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: Destroy", "Enter"));
    Create(kLong);
    EXPECT_THAT(platform.TakeAsserts(), IsEmpty()) << "something was left from the first try";
}
INSTANTIATE_TEST_SUITE_P(EachSemaphore, TimerWithoutMemory,
                         testing::Values(Shortage{2, "m_semTimer"}, Shortage{3, "m_semThreadSync"},
                                         Shortage{4, "m_semCreateSync"}),
                         [](const auto& one) { return std::string(one.param.semaphore).substr(2); });

TEST_F(Timer, WhoseThreadCannotStartIsNotCreated) {
    faults.FailNext("pthread_create", EAGAIN);
    EXPECT_FALSE(timer.CreateTimer(kLong, 0));
    EXPECT_TRUE(SaidBy(DLOG_ERROR, "CreateTimer", "Create gamepad-timer-thread ERROR"));
    EXPECT_THAT(platform.TakeErrors(), ElementsAre(HasSubstr("pthread_create()"), HasSubstr("CThread not created"),
                                                   "Create gamepad-timer-thread ERROR"));
    EXPECT_FALSE(timer.FlagCreate());
    EXPECT_THAT(platform.TakeAsserts(), IsEmpty());
    Create(kLong);
    platform.TakeAsserts();  // the exit semaphore of the first try
    EXPECT_TRUE(timer.FlagCreate());
}

TEST_F(Timer, UsedAfterAFailedCreationOnlyReportsIt) {
    faults.FailNext("pthread_create", EAGAIN);
    timer.CreateTimer(kLong, 0);
    platform.TakeErrors();
    timer.RegisterCallback(&alarm);
    timer.StartTimer();
    EXPECT_THAT(platform.TakeAsserts(),
                ElementsAre(Asserted("FlagCreate() == true", "CMutex.h"), Asserted("FlagCreate() == true", "CMutex.h"),
                            Asserted("FlagCreate() == true", "CSemaphore.cpp")));
    ASSERT_TRUE(timer.CreateTimer(kLong, 0)) << "the next try";
    platform.TakeAsserts();
}

}  // namespace
