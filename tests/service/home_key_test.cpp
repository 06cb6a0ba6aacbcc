// What the Home button does, by the game hub's status, and the hold that one status asks for.

#include <chrono>
#include <climits>
#include <thread>

#include "GamepadRemoteController.h"
#include "SemaphoreWatch.h"
#include "platform/virtual_key.h"
#include "service_test.h"

namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::Values;

constexpr char kHandleHome[] = "GamepadRemoteController.cpp: m_HandleHomeKey";
constexpr char kOnCallback[] = "GamepadRemoteController.cpp: t_OnCallback";
constexpr char kCreateTimer[] = "GamepadTimer.cpp: CreateTimer";
constexpr char kTimerMain[] = "GamepadTimer.cpp: t_Main";
constexpr char kTimerThread[] = "gamepad-timer-t";
constexpr char kNotStarted[] = "Timer do not Start!";

constexpr int kHome = 14;
constexpr int kHoldStatus = 1000;

class HomeKey : public ServiceTest {
protected:
    void StartWith(int status) {
        platform.SetInt(kPlaydeckStatus, status);
        Start();
        platform.ForgetLog();
    }
};

// A plain key.

TEST_F(HomeKey, SendsHomeviewOnceWithoutAGameHub) {
    StartWith(0);
    Press(kHome);
    Release(kHome);
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Tapped(71)));
    EXPECT_EQ(keys[0].thread, kDispatcherThread);
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]PlaydeckStatus[0]EventValue[1]DeviceId[0]")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]Send Homeview vk[71] for device[0]")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]PlaydeckStatus[0]EventValue[0]DeviceId[0]")));
}

TEST_F(HomeKey, SendsTheHubsKeyWhileNoCloudGameRuns) {
    StartWith(1);
    Press(kHome);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    Release(kHome);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]Send Playdeck vk[572] for device[0]")));
}

class AnyOtherStatus : public HomeKey, public testing::WithParamInterface<int> {};

TEST_P(AnyOtherStatus, SendsNothingAndTimesNothing) {
    StartWith(GetParam());
    Press(kHome);
    Release(kHome);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]PlaydeckStatus[" + std::to_string(GetParam()) +
                                               "]EventValue[1]DeviceId[0]")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey"))));
}
INSTANTIATE_TEST_SUITE_P(EachOfMany, AnyOtherStatus, Values(2, 3, -1, 999, 1001, INT_MAX, INT_MIN));

class OtherValuesThanOne : public HomeKey, public testing::WithParamInterface<int> {};

TEST_P(OtherValuesThanOne, SendNothing) {
    StartWith(0);
    Send(1, kHome, GetParam());
    Change(kPlaydeckStatus, 1);
    Send(1, kHome, GetParam());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(EachOfFour, OtherValuesThanOne, Values(0, 2, -1, INT_MAX));

TEST_F(HomeKey, IsKnownByItsCodeWhateverTheType) {
    StartWith(0);
    Send(3, kHome, 1);
    Send(0, kHome, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71), Tapped(71)));
}

TEST_F(HomeKey, FollowsTheStatusAsItChanges) {
    StartWith(0);
    Press(kHome);
    Change(kPlaydeckStatus, 1);
    Press(kHome);
    Change(kPlaydeckStatus, 2);
    Press(kHome);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71), Tapped(572)));
}

TEST_F(HomeKey, NamesTheDevice) {
    Plug(kPad);
    Plug("second");
    StartWith(1);
    Press(kHome, "second");
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]Send Playdeck vk[572] for device[1]")));
}

class InAGame : public HomeKey, public testing::WithParamInterface<int> {};

TEST_P(InAGame, HomeIsOnlyLogged) {
    StartWith(GetParam());
    EnterGame();
    platform.ForgetLog();
    Press(kHome);
    Release(kHome);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    const std::string status = std::to_string(GetParam());
    std::vector<std::string> messages;
    for (const LogLine& line : platform.LogLines()) {
        if (line.where == kHandleHome) {
            messages.push_back(line.message);
        }
    }
    EXPECT_THAT(messages, ElementsAre("[GameMode][HomeKey]PlaydeckStatus[" + status + "]EventValue[1]DeviceId[0]",
                                      "NOT Menu Mode, don't handle Home Key",
                                      "[GameMode][HomeKey]PlaydeckStatus[" + status + "]EventValue[0]DeviceId[0]",
                                      "NOT Menu Mode, don't handle Home Key"));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kHandleHome, "NOT Menu Mode, don't handle Home Key")));
}
INSTANTIATE_TEST_SUITE_P(EachStatus, InAGame, Values(0, 1, 2, kHoldStatus));

// The hold.

class HoldingHome : public HomeKey {
protected:
    void SetUp() override {
        platform.AllowError(kNotStarted);  // by a timer that is idle when the program ends
        Plug(kPad);
        Plug("second");
        StartWith(kHoldStatus);
    }
    /// Presses Home and waits until its timer runs.
    void Hold(const std::string& uid = kPad) {
        const int naps = clock.Naps(kTimerThread);
        Press(kHome, uid);
        ASSERT_TRUE(clock.WaitForNap(kTimerThread, naps + 1));
    }
    /// Waits until the one timer that ran is idle: through with its time-out, or with the release.
    static void WaitForIdleTimer() { ASSERT_TRUE(SemaphoreWatch::WaitForRest(kTimerThread)); }
    /// How often a timer has complained that it was woken for nothing.
    int Complaints() const { return platform.LogCount(DLOG_ERROR, kNotStarted); }
};

TEST_F(HoldingHome, SendsTheHubsKeyOnceAfterASecond) {
    Hold();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kTimerMain, "Wait[1000]ms!")));
    clock.Advance(milliseconds(999));
    EXPECT_FALSE(platform.WaitForKeys(1, milliseconds(20)));
    clock.Advance(milliseconds(1));
    WaitForIdleTimer();
    EXPECT_EQ(Complaints(), 0);
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Tapped(572)));
    EXPECT_EQ(keys[0].thread, kTimerThread);
    Release(kHome);
    clock.Advance(milliseconds(5000));
    Press(2);  // whatever the timer still did would come before this
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(148)));
}

TEST_F(HoldingHome, IsToldStepByStep) {
    Hold();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kTimerMain, "ENTER")));
    clock.Advance(milliseconds(1000));
    WaitForIdleTimer();
    Release(kHome);
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: [MenuMode][HomeKey]PlaydeckStatus[1000]EventValue[1]DeviceId[0]",
                                   "I: [HomeKey Press]start timer to check press time for device[0]",
                                   "I: [HomeKey Press]create timer for device[0]",
                                   "D: m_semCreateSync.Take() to wait sub-thread run succcessfully",
                                   "D: sub-thread run successfully! Exit", "I: Wait[1000]ms!", "I: Timeout!",
                                   "VirtualKey_Send_KeyCode(572, 2)",
                                   "I: [HomeKey Long Press Timeout]Send Playdeck vk[572] for device[0]",
                                   "I: [HomeKey Press Timeout]stop timer for device[0]",
                                   "I: [MenuMode][HomeKey]PlaydeckStatus[1000]EventValue[0]DeviceId[0]",
                                   "I: [HomeKey Release]", "I: [HomeKey Release]stop timer for device[0]"}));
    for (const char* const message :
         {"[HomeKey Press]start timer to check press time for device[0]", "[HomeKey Press]create timer for device[0]",
          "[HomeKey Release]", "[HomeKey Release]stop timer for device[0]"}) {
        EXPECT_THAT(platform.LogLines(), Contains(Info(kHandleHome, message)));
    }
    for (const char* const message : {"[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[0]",
                                      "[HomeKey Press Timeout]stop timer for device[0]"}) {
        EXPECT_THAT(platform.LogLines(), Contains(Info(kOnCallback, message)));
    }
    EXPECT_THAT(platform.LogLines(),
                Contains(Debug(kCreateTimer, "m_semCreateSync.Take() to wait sub-thread run succcessfully")));
    EXPECT_THAT(platform.LogLines(), Contains(Debug(kCreateTimer, "sub-thread run successfully! Exit")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kTimerMain, "Timeout!")));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(HoldingHome, IsCutShortByTheRelease) {
    Hold();
    clock.Advance(milliseconds(300));
    Release(kHome);
    WaitForIdleTimer();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kTimerMain, "Wake up!")));
    clock.Advance(milliseconds(5000));
    Hold();
    EXPECT_EQ(Complaints(), 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains("Timeout!")));
}

TEST_F(HoldingHome, StartsAnewWithEachPress) {
    Hold();
    clock.Advance(milliseconds(600));
    Release(kHome);
    WaitForIdleTimer();
    Hold();
    clock.Advance(milliseconds(999));
    EXPECT_FALSE(platform.WaitForKeys(1, milliseconds(20)));
    clock.Advance(milliseconds(1));
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "[HomeKey Press]create timer for device[0]"), 1);
}

TEST_F(HoldingHome, SendsAgainOnTheNextHold) {
    for (int hold = 1; hold <= 3; ++hold) {
        Hold();
        clock.Advance(milliseconds(1000));
        WaitForIdleTimer();
        EXPECT_EQ(platform.LogCount(DLOG_INFO, "Timeout!"), hold);
        Release(kHome);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    }
    EXPECT_EQ(Complaints(), 0);
}

TEST_F(HoldingHome, GoesOnWhenPressedOnceMore) {
    Hold();
    clock.Advance(milliseconds(600));
    Press(kHome);
    clock.Advance(milliseconds(399));
    EXPECT_FALSE(platform.WaitForKeys(1, milliseconds(20)));
    clock.Advance(milliseconds(1));
    // The second press finds the timer disarmed by its own expiry.
    ASSERT_TRUE(platform.WaitForLog(kNotStarted));
    WaitForIdleTimer();
    EXPECT_EQ(Complaints(), 1);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kTimerMain, kNotStarted)));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}

TEST_F(HoldingHome, PressedTwiceIsEndedByOneRelease) {
    Hold();
    Press(kHome);
    Release(kHome);
    ASSERT_TRUE(platform.WaitForLog(kNotStarted));  // the second press
    WaitForIdleTimer();
    EXPECT_EQ(Complaints(), 1);
    clock.Advance(milliseconds(5000));
    Hold();
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Wake up!"), 1);
}

TEST_F(HoldingHome, IsTimedForEachPadByItself) {
    Hold();
    clock.Advance(milliseconds(500));
    Hold("second");
    clock.Advance(milliseconds(500));
    ASSERT_TRUE(platform.WaitForLog("[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[0]"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    clock.Advance(milliseconds(500));
    ASSERT_TRUE(platform.WaitForLog("[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[1]"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}

TEST_F(HoldingHome, OfOnePadIsNotEndedByAnother) {
    Hold();
    Press(kHome, "second");
    Release(kHome, "second");
    clock.Advance(milliseconds(1000));
    ASSERT_TRUE(platform.WaitForLog("[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[0]"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}

TEST_F(HoldingHome, TakesOtherValuesForNothing) {
    Send(1, kHome, 2);
    Send(1, kHome, -1);
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey"))));
}

TEST_F(HoldingHome, KnowsAReleaseWithoutAPress) {
    Release(kHome);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kHandleHome, "[HomeKey Release]")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey Release]stop timer"))));
}

TEST_F(HoldingHome, LeavesTheOtherButtonsAlone) {
    Hold();
    Press(0);
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36), Released(36)));
}

TEST_F(HoldingHome, IsEndedByTheEndOfTheProgram) {
    Hold();
    Stop();
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(), Contains(Info("GamepadTimer.cpp: DestroyTimer", "Exit DestroyTimer")));
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"VirtualKey_Finalize()", "I: Exit DestroyTimer", "I: [DeInitialize]exit"}));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Exit DestroyTimer"), 1);
    EXPECT_THAT(platform.LogLines(), Contains(Info("CallbackHandler.cpp: UnregisterCallback", "Enter")));
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(HoldingHome, LeavesATimerThatComplainsOnceWhenItIsEnded) {
    Hold();
    Release(kHome);
    WaitForIdleTimer();
    EXPECT_EQ(Complaints(), 0);
    Stop();
    EXPECT_EQ(Complaints(), 1);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kTimerMain, kNotStarted)));
}

TEST_F(HoldingHome, EndsOneTimerForEachPadThatHadOne) {
    Hold();
    Hold("second");
    Stop();
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Exit DestroyTimer"), 2);
}

class FromDevice : public HomeKey, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        platform.AllowError(kNotStarted);
        platform.SetNextDeviceId(GetParam());
        StartWith(kHoldStatus);
    }
};

TEST_P(FromDevice, TheHoldIsTimedForTheFirstFourOnly) {
    const std::string id = std::to_string(GetParam());
    Press(kHome);
    if (GetParam() > 3) {
        EXPECT_THAT(platform.LogLines(), Contains(Info(kHandleHome, "[HomeKey]invalid device id:[" + id + "]")));
        EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey Press]"))));
        Release(kHome);
        EXPECT_EQ(platform.LogCount(DLOG_INFO, "[HomeKey]invalid device id:[" + id + "]"), 2);
        EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey Release]"))));
        return;
    }
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    clock.Advance(milliseconds(1000));
    ASSERT_TRUE(platform.WaitForLog("[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[" + id + "]"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}
INSTANTIATE_TEST_SUITE_P(EachId, FromDevice, Values(0, 1, 2, 3, 4, 100));

class InRealTime : public HomeKey {
protected:
    void SetUp() override { clock.LetRun(); }
};

TEST_F(InRealTime, TheHoldTakesASecond) {
    platform.AllowError(kNotStarted);
    StartWith(kHoldStatus);
    const auto start = std::chrono::steady_clock::now();
    platform.PressButton(kPad, kHome);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(950));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}

// What the timer does not get.

class WithoutResources : public HoldingHome {};

TEST_F(WithoutResources, ARefusedThreadMakesTheNextPressTryAgain) {
    for (const char* const message : {"pthread_create() threadname:[gamepad-timer-thread]", "CThread not created",
                                      "Create gamepad-timer-thread ERROR"}) {
        platform.ExpectError(message);
    }
    platform.AllowAsserts();  // the timer is started all the same
    faults::RefuseThread(1);
    Press(kHome);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kCreateTimer, "Create gamepad-timer-thread ERROR")));
    EXPECT_THAT(platform.TakeAsserts(), Not(IsEmpty()));
    Release(kHome);
    Hold();
    clock.Advance(milliseconds(1000));
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
}

struct Missing {
    int allocation;  ///< counted from the press
    const char* message;
};
void PrintTo(const Missing& missing, std::ostream* out) {
    *out << "allocation " << missing.allocation;
}

class WithoutMemory : public HoldingHome, public testing::WithParamInterface<Missing> {};

// The registry's lock comes first, then the timer's three semaphores, then the two of its thread.
TEST_P(WithoutMemory, TheNextPressTriesAgain) {
    platform.AllowErrors();
    platform.AllowAsserts();
    faults::RefuseMemory(GetParam().allocation);
    Press(kHome);
    if (GetParam().message != nullptr) {
        EXPECT_THAT(platform.LogLines(), Contains(Error(kCreateTimer, GetParam().message)));
        EXPECT_THAT(platform.LogMessages(), Not(Contains("Wait[1000]ms!")));
    }
    const auto asserts = platform.TakeAsserts();
    EXPECT_THAT(asserts, Not(IsEmpty()));
    if (GetParam().message == nullptr) {
        return;
    }
    // The press goes on with what is not there any more: the registry's lock and the semaphore that wakes the thread.
    EXPECT_THAT(asserts, Contains(Asserted("FlagCreate() == true", "CMutex.h")));
    EXPECT_THAT(asserts, Contains(Asserted("FlagCreate() == true", "CSemaphore.cpp")));
    Release(kHome);
    Hold();
    clock.Advance(milliseconds(1000));
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    Stop();
    EXPECT_THAT(platform.TakeAsserts(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(AtEachStep, WithoutMemory,
                         Values(Missing{1, nullptr}, Missing{2, "create m_semTimer ERROR!"},
                                Missing{3, "create m_semThreadSync ERROR!"},
                                Missing{4, "create m_semCreateSync ERROR!"},
                                Missing{5, "Create gamepad-timer-thread ERROR"},
                                Missing{6, "Create gamepad-timer-thread ERROR"}));

// Asked of the classes themselves.

class TheHandlerAlone : public testing::Test {
protected:
    TheHandlerAlone() { VirtualKey_Initialize("test"); }
    ~TheHandlerAlone() override { VirtualKey_Finalize(); }

    FakePlatform platform;
    GamepadRemoteController controller;
    int deviceId = 2;
};

TEST_F(TheHandlerAlone, TakesOnlyEventZeroForAnExpiry) {
    controller.t_OnCallback(1, &deviceId, nullptr, nullptr);
    controller.t_OnCallback(-1, &deviceId, nullptr, nullptr);
    controller.t_OnCallback(0, nullptr, nullptr, nullptr);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    controller.t_OnCallback(0, &deviceId, nullptr, nullptr);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(572)));
    EXPECT_THAT(platform.LogMessages(), Contains("[HomeKey Long Press Timeout]Send Playdeck vk[572] for device[2]"));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[HomeKey Press Timeout]"))));
}

TEST_F(TheHandlerAlone, HandlesHomeUnderBothItsNames) {
    controller.HandleHomeKey(7, true, {0, 1, kHome, 1});
    controller.HandleHomeKey(7, false, {0, 1, kHome, 1});
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71)));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kHandleHome, "[MenuMode][HomeKey]PlaydeckStatus[0]EventValue[1]DeviceId[7]")));
}

TEST_F(TheHandlerAlone, TimesNoNegativeDevice) {
    GamepadRemoteController::PlaydeckStatusChangeCallback(platform.MakeNode(kHoldStatus), &controller);
    controller.HandleHomeKey(-1, true, {0, 1, kHome, 1});
    EXPECT_THAT(platform.LogLines(), Contains(Info(kHandleHome, "[HomeKey]invalid device id:[-1]")));
}

class TheTimerAlone : public testing::Test {
protected:
    /// True as soon as that many starts are through: disarmed while the thread waited, or before it woke up.
    bool WaitForDisarmed(int starts) {
        const auto deadline = std::chrono::steady_clock::now() + kSoon;
        const auto disarmed = [this] {
            return platform.LogCount(DLOG_INFO, "Wake up!") + platform.LogCount(DLOG_ERROR, kNotStarted);
        };
        while (disarmed() < starts && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        return disarmed() >= starts;
    }

    FakePlatform platform;
    ServiceClock clock;
};

TEST_F(TheTimerAlone, TellsAndChangesItsWait) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(250, 1));
    EXPECT_EQ(timer.GetWaitMSec(), 250U);
    timer.SetWaitMSec(400);
    EXPECT_EQ(timer.GetWaitMSec(), 400U);
    timer.StartTimer();
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Wait[400]ms!"));
    clock.Advance(milliseconds(400));
    EXPECT_TRUE(platform.WaitForLog("Timeout!"));
    timer.DestroyTimer();
}

TEST_F(TheTimerAlone, IsEndedInTheMiddleOfAWait) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(1000, 0));
    timer.StartTimer();
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    timer.DestroyTimer();
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Timeout!"));
    EXPECT_FALSE(timer.FlagCreate());
}

TEST_F(TheTimerAlone, DisarmsItselfWhenItRunsOut) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(1000, 0));
    timer.StartTimer();
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    timer.StartTimer();
    clock.Advance(milliseconds(1000));
    EXPECT_TRUE(platform.WaitForLog(kNotStarted));
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kTimerThread));
    EXPECT_EQ(platform.LogCount(DLOG_ERROR, kNotStarted), 1);
    EXPECT_EQ(clock.Naps(kTimerThread), 1);
    timer.DestroyTimer();
}

TEST_F(TheTimerAlone, ComplainsOfItsEndButNotOfItsTimeOut) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(1000, 0));
    timer.StartTimer();
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    clock.Advance(milliseconds(1000));
    ASSERT_TRUE(SemaphoreWatch::WaitForRest(kTimerThread));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, kTimerMain, "Timeout!"));
    EXPECT_FALSE(platform.Logged(DLOG_ERROR, kNotStarted));
    timer.DestroyTimer();
    EXPECT_EQ(platform.LogCount(DLOG_ERROR, kNotStarted), 1);
}

TEST_F(TheTimerAlone, IsEndedByItsDestructor) {
    platform.AllowError(kNotStarted);
    {
        GamepadTimer timer;
        ASSERT_TRUE(timer.CreateTimer(1000, 0));
        timer.StartTimer();
        ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    }
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Exit DestroyTimer"));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "GamepadTimer.cpp")));
}

TEST_F(TheTimerAlone, MayBeCreatedAgain) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    for (int life = 1; life <= 3; ++life) {
        ASSERT_TRUE(timer.CreateTimer(1000, 0));
        timer.StartTimer();
        ASSERT_TRUE(clock.WaitForNap(kTimerThread, life));
        clock.Advance(milliseconds(1000));
        ASSERT_TRUE(platform.WaitForLog("Timeout!", life));
        timer.DestroyTimer();
    }
}

// Whether the thread wakes up between the two calls is left to chance; either way the next wait is a whole one.
TEST_F(TheTimerAlone, OutlastsAStopThatCameBeforeItsThreadWokeUp) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(1000, 0));
    for (int round = 0; round < 50; ++round) {
        timer.StartTimer();
        timer.StopTimer();
        ASSERT_TRUE(WaitForDisarmed(2 * round + 1));
        const int naps = clock.Naps(kTimerThread);
        timer.StartTimer();
        ASSERT_TRUE(clock.WaitForNap(kTimerThread, naps + 1));
        timer.StopTimer();
        ASSERT_TRUE(WaitForDisarmed(2 * round + 2));
    }
    timer.DestroyTimer();
}

TEST_F(TheTimerAlone, DoesNotMindAStopThatNothingStarted) {
    platform.AllowError(kNotStarted);
    GamepadTimer timer;
    ASSERT_TRUE(timer.CreateTimer(1000, 0));
    timer.StopTimer();
    timer.StartTimer();
    ASSERT_TRUE(clock.WaitForNap(kTimerThread));
    timer.StopTimer();
    EXPECT_TRUE(platform.WaitForLog("Wake up!"));
    timer.DestroyTimer();
}

}  // namespace
