// How the use of a gamepad keeps the TV awake, is published, and wakes it from standby.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "GamepadMonitor.h"
#include "Utils.h"
#include "service_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::Values;

constexpr char kThread[] = "GamepadMonitor";
constexpr char kActive[] = "memory/accessory/gamepad_active";
constexpr char kScreensaver[] = "memory/window_system/screensaver_on_off";
constexpr char kEasyWakeup[] = "db/menu/connection/easy-wakeup";
constexpr char kCreate[] = "GamepadMonitor.cpp: Create";
constexpr char kMain[] = "GamepadMonitor.cpp: t_Main";
constexpr char kIncrease[] = "GamepadMonitor.cpp: IncreaseActiveNumber";
constexpr char kScreensaverNotice[] = "GamepadMonitor.cpp: ScreenSaverStatusCallback";
constexpr char kStandbyNotice[] = "GamepadMonitor.cpp: PowerOffCallback";
constexpr char kReset[] = "screensaver_reset";
constexpr seconds kCycle{30};

/// The monitor has done what it does at its start and waits for the end of its first cycle.
class ActivityMonitor : public ServiceTest {
protected:
    void SetUp() override { StartMonitor(); }
    void StartMonitor() {
        Start();
        ASSERT_TRUE(clock.WaitForNap(kThread));
    }
    /// One batch of events.
    void Use() { Release(0); }
    void EndCycle() { ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kCycle)); }
    std::vector<std::string> Published() const { return platform.CallTexts("vconf_set_int"); }
    static std::string Publication(int count) {
        return "vconf_set_int(\"" + std::string(kActive) + "\", " + std::to_string(count) + ")";
    }
};

// Cycles.

TEST_F(ActivityMonitor, DoesNothingWithoutActivity) {
    for (int cycle = 0; cycle < 5; ++cycle) {
        EndCycle();
    }
    EXPECT_THAT(Published(), IsEmpty());
    EXPECT_EQ(platform.CallCount(kReset), 0);
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("Gamepad is being used"))));
}

TEST_F(ActivityMonitor, ReportsAtTheEndOfTheCycle) {
    clock.Advance(seconds(10));
    Use();
    clock.Advance(milliseconds(19999));
    EXPECT_FALSE(platform.WaitForCall(kReset, 1, milliseconds(20)));
    EXPECT_THAT(Published(), IsEmpty());
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, milliseconds(1)));
    EXPECT_THAT(Published(), ElementsAre(Publication(1)));
    EXPECT_EQ(platform.CallCount(kReset), 1);
    EXPECT_EQ(platform.Get(kActive), Setting(1));
}

TEST_F(ActivityMonitor, ReportsOnItsOwnThread) {
    Use();
    EndCycle();
    EXPECT_EQ(platform.Calls("vconf_set_int").at(0).thread, kThread);
    EXPECT_EQ(platform.Calls(kReset).at(0).thread, kThread);
}

TEST_F(ActivityMonitor, ReportsOnceHoweverMuchIsPlayed) {
    for (int batch = 0; batch < 7; ++batch) {
        Use();
    }
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(7)));
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

TEST_F(ActivityMonitor, ReportsAgainOnlyAfterNewActivity) {
    Use();
    EndCycle();
    EndCycle();
    EndCycle();
    EXPECT_THAT(Published(), SizeIs(1));
    Use();
    Use();
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(1), Publication(3)));
    EXPECT_EQ(platform.CallCount(kReset), 2);
}

TEST_F(ActivityMonitor, IsToldStepByStep) {
    Use();
    EndCycle();
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: Gamepad is being used. Set[memory/accessory/gamepad_active][1]", Publication(1),
                                   "I: Set [memory/accessory/gamepad_active] to [1] success.",
                                   "I: Call[screensaver_reset]", "screensaver_reset()"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kIncrease, "Enter")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kMain, "Gamepad is being used. Set[memory/accessory/gamepad_active][1]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kMain, "Call[screensaver_reset]")));
}

TEST_F(ActivityMonitor, HearsOfABatchBeforeItIsTranslated) {
    Press(0);
    EXPECT_THAT(platform.Timeline(), HasInOrder(Entries{"I: Enter", "I: Get a event[1,1,0,1], [MenuMode]"}));
    const auto lines = platform.LogLines();
    const auto increase =
        std::find_if(lines.begin(), lines.end(), [](const LogLine& line) { return line.where == kIncrease; });
    const auto event = std::find_if(lines.begin(), lines.end(), [](const LogLine& line) {
        return line.message == "Get a event[1,1,0,1], [MenuMode]";
    });
    EXPECT_LT(increase, event);
    EXPECT_EQ(increase->thread, kDispatcherThread);
}

TEST_F(ActivityMonitor, CountsASuccessfulReadWithoutEvents) {
    // Shared, since an answer that is under way may outlast the test's body.
    const auto reads = std::make_shared<std::atomic<int>>(0);
    platform.AnswerGetEvents([reads](int, _gamepad_event_s*, int* count) {
        *count = 0;
        return ++*reads == 1 ? 1 : 0;
    });
    while (*reads < 2) {
        std::this_thread::yield();
    }
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(1)));
    platform.AnswerGetEvents(nullptr);
}

TEST_F(ActivityMonitor, DoesNotCountAFailedRead) {
    platform.FailAlways("gamepad_get_events");
    ASSERT_TRUE(platform.WaitForCall("gamepad_get_events", platform.CallCount("gamepad_get_events") + 3));
    EndCycle();
    EXPECT_THAT(Published(), IsEmpty());
}

TEST_F(ActivityMonitor, CountsInAGameToo) {
    EnterGame();
    Use();
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(1)));
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

TEST_F(ActivityMonitor, AFailedPublicationIsNotRepeated) {
    platform.FailOn("vconf_set_int");
    Use();
    EndCycle();
    EXPECT_THAT(platform.LogMessages(), Contains("Set [memory/accessory/gamepad_active] to [1] failed."));
    EXPECT_EQ(platform.CallCount(kReset), 1);
    EndCycle();
    EXPECT_THAT(Published(), SizeIs(1));
    Use();
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(1), Publication(2)));
}

TEST_F(ActivityMonitor, AFailedResetIsRepeatedOnlyAfterNewActivity) {
    platform.FailOn(kReset);
    platform.ExpectError("Call[screensaver_reset]err");
    Use();
    EndCycle();
    EXPECT_THAT(platform.LogLines(), Contains(Error(kMain, "Call[screensaver_reset]err")));
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 1);
    Use();
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 2);
    EXPECT_EQ(platform.LogCount(DLOG_ERROR, "Call[screensaver_reset]err"), 1);
}

// The screensaver.

class WhileTheScreensaverShows : public ActivityMonitor {
protected:
    void SetUp() override {
        ActivityMonitor::SetUp();
        Change(kScreensaver, true);
    }
    /// Activity, and the cycle that follows it at once.
    void UseAndWaitForCycle() {
        const int naps = clock.Naps(kThread);
        Use();
        ASSERT_TRUE(clock.WaitForNap(kThread, naps + 1));
    }
};

TEST_F(WhileTheScreensaverShows, ActivityResetsItAtOnce) {
    UseAndWaitForCycle();
    EXPECT_EQ(platform.CallCount(kReset), 1);
    EXPECT_EQ(platform.Calls(kReset).at(0).thread, kThread);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kScreensaverNotice, "Enter[ScreenSaverStatusCallback]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kScreensaverNotice, "screensaver is ON")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kIncrease, "TV ScreenSaver is on")));
}

TEST_F(WhileTheScreensaverShows, EachBatchResetsItAgain) {
    UseAndWaitForCycle();
    UseAndWaitForCycle();
    EXPECT_EQ(platform.CallCount(kReset), 2);
}

TEST_F(WhileTheScreensaverShows, NothingHappensWithoutActivity) {
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 0);
}

TEST_F(WhileTheScreensaverShows, ItsEndRestoresTheCycle) {
    Change(kScreensaver, false);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kScreensaverNotice, "screensaver is NOT ON")));
    Use();
    EXPECT_FALSE(platform.WaitForCall(kReset, 1, milliseconds(20)));
    EXPECT_THAT(platform.LogMessages(), Not(Contains("TV ScreenSaver is on")));
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

TEST_F(ActivityMonitor, HearsOfTheScreensaverOnTheMainThread) {
    Change(kScreensaver, true);
    const auto mainThread = platform.Calls("VirtualKey_Initialize").at(0).tid;
    EXPECT_EQ(platform.Calls("vconf_keynode_get_bool").at(0).tid, mainThread);
}

class BeforeTheStart : public ActivityMonitor {
protected:
    void SetUp() override {}
};

TEST_F(BeforeTheStart, AScreensaverThatShowsAlreadyIsNotKnown) {
    platform.SetBool(kScreensaver, true);
    StartMonitor();
    Use();
    EXPECT_FALSE(platform.WaitForCall(kReset, 1, milliseconds(20)));
    EXPECT_EQ(platform.CallCount("vconf_get_bool"), 0);
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

TEST_F(BeforeTheStart, AnUnwatchableScreensaverIsOnlyLogged) {
    platform.FailOn("vconf_notify_key_changed", 2);
    platform.AllowViolations();  // at the end it leaves what it never watched
    StartMonitor();
    EXPECT_THAT(platform.LogMessages(), Contains("RegisterGetScreenSaverCallback Err"));
    Use();
    EndCycle();
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

// Standby.

class OnASmartMonitor : public ActivityMonitor {
protected:
    void SetUp() override {
        platform.SetSmartMonitor(true);
        platform.SetInt(kEasyWakeup, 1);
        StartMonitor();
    }
    void GoToStandby(int state = 2) {
        platform.SetPowerState(state);
        platform.SendStandby();
        ASSERT_TRUE(platform.WaitUntilStandbyTold());
    }
    std::vector<std::string> WakeUps() const { return platform.CallTexts("device_power_set_state"); }
};

TEST_F(OnASmartMonitor, ActivityWakesTheDeviceOnceForEachStandby) {
    GoToStandby();
    EXPECT_THAT(WakeUps(), IsEmpty());
    Use();
    Use();
    EXPECT_THAT(WakeUps(), ElementsAre("device_power_set_state(0, 1)"));
    EXPECT_EQ(platform.PowerState(), 0);
    GoToStandby();
    Use();
    Use();
    EXPECT_THAT(WakeUps(), SizeIs(2));
}

TEST_F(OnASmartMonitor, TheReasonComesBeforeTheWakeUp) {
    GoToStandby();
    Use();
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: Enter[PowerOffCallback]", "device_power_get_state()",
                                   "vconf_get_int(\"db/menu/connection/easy-wakeup\")", "I: easy wakeup is  enabled",
                                   "I: set[m_bIsEasyWakeupForPowerOff]to true", "I: [Easy Wakeup]enabled. wakeup TV",
                                   "device_power_set_wakeup_reason(1)", "device_power_set_state(0, 1)"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kStandbyNotice, "Enter[PowerOffCallback]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kStandbyNotice, "set[m_bIsEasyWakeupForPowerOff]to true")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kIncrease, "[Easy Wakeup]enabled. wakeup TV")));
    EXPECT_EQ(platform.Calls("device_power_set_state").at(0).thread, kDispatcherThread);
    EXPECT_EQ(platform.Calls("device_power_get_state").at(0).thread, "power-lib");
}

TEST_F(OnASmartMonitor, WithoutAStandbyNothingIsWoken) {
    Use();
    EXPECT_THAT(WakeUps(), IsEmpty());
}

TEST_F(OnASmartMonitor, ASecondNoticeAsksForNoSecondWakeUp) {
    GoToStandby();
    GoToStandby();
    Use();
    Use();
    EXPECT_THAT(WakeUps(), SizeIs(1));
}

TEST_F(OnASmartMonitor, AnotherPowerStateIsNoStandby) {
    for (const int state : {0, 1, 3, -1}) {
        GoToStandby(state);
    }
    Use();
    EXPECT_THAT(WakeUps(), IsEmpty());
    EXPECT_THAT(platform.CallTexts("vconf_get_int"), Not(Contains(HasSubstr(kEasyWakeup))));
}

TEST_F(OnASmartMonitor, AnUnreadableSettingWakesNothing) {
    platform.Unset(kEasyWakeup);
    GoToStandby();
    Use();
    EXPECT_THAT(WakeUps(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Contains("Get vconf [db/menu/connection/easy-wakeup] value failed."));
}

TEST_F(OnASmartMonitor, SubscribesAndUnsubscribes) {
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCreate, "subscribe standby event")));
    EXPECT_EQ(platform.CallCount("device_power_subscribe_standby_event"), 1);
    Stop();
    EXPECT_THAT(platform.LogLines(), Contains(Info("GamepadMonitor.cpp: Destroy", "unsubscribe standby event")));
    EXPECT_EQ(platform.CallCount("device_power_unsubscribe_standby_event"), 1);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

class ADisabledEasyWakeup : public OnASmartMonitor, public testing::WithParamInterface<int> {};

TEST_P(ADisabledEasyWakeup, WakesNothing) {
    Change(kEasyWakeup, GetParam());
    GoToStandby();
    Use();
    EXPECT_THAT(WakeUps(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Contains("easy wakeup is NOT enabled"));
}
INSTANTIATE_TEST_SUITE_P(EachOfThree, ADisabledEasyWakeup, Values(0, 2, -1));

TEST_F(BeforeTheStart, AFailedSubscriptionCostsOnlyTheWakeUp) {
    platform.SetSmartMonitor(true);
    platform.FailOn("device_power_subscribe_standby_event");
    platform.AllowViolations();  // at the end it leaves what it never subscribed to
    platform.ExpectError("Subscribe standby event failed!");
    StartMonitor();
    EXPECT_THAT(platform.LogLines(), Contains(Error(kCreate, "Subscribe standby event failed!")));
    Use();
    EndCycle();
    EXPECT_THAT(Published(), ElementsAre(Publication(1)));
}

TEST_F(ActivityMonitor, OnATelevisionStandbyIsNotSubscribedTo) {
    platform.SetInt(kEasyWakeup, 1);
    platform.SetPowerState(2);
    platform.SendStandby();
    ASSERT_TRUE(platform.WaitUntilStandbyTold());
    Use();
    EXPECT_EQ(platform.CallCount("device_power_set_state"), 0);
    Stop();
    EXPECT_EQ(platform.CallCount("device_power_subscribe_standby_event"), 0);
    EXPECT_EQ(platform.CallCount("device_power_unsubscribe_standby_event"), 0);
    EXPECT_THAT(platform.LogMessages(), Not(Contains(HasSubstr("subscribe standby event"))));
}

TEST_F(BeforeTheStart, AnUnknownProductCountsAsATelevision) {
    platform.SetSmartMonitor(true);
    platform.FailAlways("system_info_get_custom_bool");
    platform.ExpectError("FMS smart_monitor_feature_support get failed ");
    StartMonitor();
    EXPECT_EQ(platform.CallCount("device_power_subscribe_standby_event"), 0);
}

// Start and end.

TEST_F(ActivityMonitor, StartsInOrder) {
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"vconf_notify_key_changed(\"memory/window_system/screensaver_on_off\", ptr, ptr)",
                                   "I: FMS smart_monitor_feature_support value is : [0]",
                                   "I: Create [GamepadMonitor] thread success"}));
    const auto lines = platform.LogLines();
    EXPECT_THAT(lines, Contains(Info(kCreate, "Create [GamepadMonitor] thread success")));
    EXPECT_THAT(lines, Contains(Info("GamepadMonitor.cpp: Start", "Enter")));
    EXPECT_THAT(lines, Contains(Info(kMain, "Enter")));
    EXPECT_THAT(lines, Contains(Info("GamepadMonitor.cpp: GamepadMonitor", "Constructor is called")));
}

TEST_F(ActivityMonitor, EndsWithoutAFurtherCycle) {
    Use();
    Stop();
    EXPECT_THAT(Published(), IsEmpty());
    EXPECT_EQ(platform.CallCount(kReset), 0);
}

TEST_F(ActivityMonitor, EndsInOrder) {
    Stop();
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: Wait [GamepadMonitor] thread exit...", "I: Enter",
                                   "vconf_ignore_key_changed(\"memory/window_system/screensaver_on_off\", ptr)",
                                   "I: [GamepadMonitor] thread exit"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info("GamepadMonitor.cpp: Stop", "Enter")));
    EXPECT_THAT(platform.LogLines(), Contains(Info("GamepadMonitor.cpp: ~GamepadMonitor", "Destructor is called")));
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

// The threads of the start: the dispatcher's, the monitor's, the signal relay's.
TEST_F(BeforeTheStart, ARefusedThreadEndsTheProgram) {
    platform.SetSmartMonitor(true);
    for (const char* const message :
         {"pthread_create() threadname:[GamepadMonitor]", "CThread not created",
          "Create[GamepadMonitor] thread failed!", "Call[m_oGamepadMonitor.Create()]err", "Call[Initialize]err"}) {
        platform.ExpectError(message);
    }
    platform.AllowAsserts();  // the semaphore of the thread's end outlives the failed start
    faults::RefuseThread(2);
    Plug(kPad);
    service.emplace(platform);
    EXPECT_EQ(service->WaitForEnd(), -1);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kCreate, "Create[GamepadMonitor] thread failed!")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains("Create [GamepadMonitor] thread success")));
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

// Asked of the class itself.

class TheMonitorAlone : public testing::Test {
protected:
    ~TheMonitorAlone() override { faults::ForgetFaults(); }

    FakePlatform platform;
    ServiceClock clock;
};

TEST_F(TheMonitorAlone, SurvivesTheTimeBetweenCreateAndStart) {
    GamepadMonitor monitor;
    ASSERT_EQ(monitor.Create(), STATUS_SUCCESS);
    ASSERT_TRUE(clock.WaitForNap(kThread));
    monitor.Start();
    monitor.IncreaseActiveNumber();
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kCycle));
    EXPECT_EQ(platform.CallCount(kReset), 1);
    monitor.Destroy();
}

TEST_F(TheMonitorAlone, MayBeCreatedAgain) {
    GamepadMonitor monitor;
    for (int life = 1; life <= 3; ++life) {
        ASSERT_EQ(monitor.Create(), STATUS_SUCCESS);
        monitor.Start();
        ASSERT_TRUE(clock.WaitForNap(kThread, life));
        monitor.Destroy();
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(TheMonitorAlone, IsDestroyedByItsDestructor) {
    {
        GamepadMonitor monitor;
        ASSERT_EQ(monitor.Create(), STATUS_SUCCESS);
        monitor.Start();
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(TheMonitorAlone, WithoutMemoryIsNotCreated) {
    for (int allocation = 1; allocation <= 3; ++allocation) {
        platform.AllowErrors();
        GamepadMonitor monitor;
        faults::RefuseMemory(allocation);
        EXPECT_EQ(monitor.Create(), STATUS_FAILURE) << allocation;
        EXPECT_FALSE(monitor.FlagCreate());
        EXPECT_EQ(platform.LogCount(DLOG_ERROR, "Create[GamepadMonitor] thread failed!"), allocation);
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(TheMonitorAlone, KeepsItsWatchesWithoutAThread) {
    platform.SetSmartMonitor(true);
    platform.AllowErrors();
    platform.AllowAsserts();  // the semaphore of the thread's end outlives the failed start
    {
        GamepadMonitor monitor;
        faults::RefuseThread(1);
        EXPECT_EQ(monitor.Create(), STATUS_FAILURE);
        EXPECT_THAT(platform.Leftovers(), SizeIs(2));
        GamepadMonitor::ScreenSaverStatusCallback(platform.MakeNode(true), &monitor);
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(TheMonitorAlone, LetsAReportWaitForACycleUnderWay) {
    GamepadMonitor monitor;
    std::future<void> reported;
    platform.OnCall(kReset, [&](const Call&) {
        reported = std::async(std::launch::async, [&] { monitor.IncreaseActiveNumber(); });
        EXPECT_EQ(reported.wait_for(milliseconds(50)), std::future_status::timeout);
    });
    ASSERT_EQ(monitor.Create(), STATUS_SUCCESS);
    monitor.Start();
    ASSERT_TRUE(clock.WaitForNap(kThread));
    monitor.IncreaseActiveNumber();
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kCycle));
    reported.get();
    monitor.Destroy();
    EXPECT_EQ(platform.CallCount(kReset), 1);
}

TEST_F(TheMonitorAlone, DoesNothingForNobody) {
    platform.SetPowerState(2);
    platform.SetInt(kEasyWakeup, 1);
    GamepadMonitor::ScreenSaverStatusCallback(platform.MakeNode(true), nullptr);
    GamepadMonitor::PowerOffCallback(nullptr, nullptr);
    EXPECT_EQ(platform.CallCount("vconf_keynode_get_bool"), 0);
    // The setting is read first all the same.
    EXPECT_EQ(platform.CallCount("vconf_get_int"), 1);
    EXPECT_THAT(platform.LogMessages(),
                ElementsAre("Enter[ScreenSaverStatusCallback]", "Enter[PowerOffCallback]", "easy wakeup is  enabled"));
}

TEST_F(TheMonitorAlone, CountsFromSeveralThreads) {
    GamepadMonitor monitor;
    ASSERT_EQ(monitor.Create(), STATUS_SUCCESS);
    monitor.Start();
    ASSERT_TRUE(clock.WaitForNap(kThread));
    const auto use = [&monitor] {
        for (int i = 0; i < 200; ++i) {
            monitor.IncreaseActiveNumber();
        }
    };
    std::thread other(use);
    use();
    GamepadMonitor::ScreenSaverStatusCallback(platform.MakeNode(false), &monitor);
    other.join();
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kCycle));
    EXPECT_EQ(platform.Get(kActive), Setting(400));
    monitor.Destroy();
}

}  // namespace
