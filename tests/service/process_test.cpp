// Start-up and shutdown, step by step, and every way in which a start fails.

#include <glib.h>

#include <csignal>
#include <optional>

#include "../../ContextManager/src/GamepadContextManager.h"
#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "main.h"
#include "running_service.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class TheProcess : public RunningService {};

TEST_F(TheProcess, AnnouncesItsStart) {
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "main.cpp: main", "quorvex Start"));
    EXPECT_EQ(platform.LogLines().front().message, "quorvex Start");
}

TEST_F(TheProcess, BuildsTheContextManagerBeforeTheDispatcherAndItsParts) {
    EXPECT_THAT(
        PlacesOf(platform, "Constructor is called"),
        ElementsAre("GamepadContextManager.cpp: GamepadContextManager", "AppLauncher.cpp: AppLauncher",
                    "GamepadRemoteController.cpp: GamepadRemoteController", "GamepadMonitor.cpp: GamepadMonitor",
                    "GamepadEventDispatcher.cpp: GamepadEventDispatcher"));
}

TEST_F(TheProcess, StartsStepByStepOnTheMainThread) {
    EXPECT_THAT(platform.TimelineOf(kMainThread),
                ContainsInOrder(Texts{"I: quorvex Start", "I: Constructor is called",
                                      "aul_listen_app_status_signal(ptr, ptr)", "I: Enter", "I: [Initialize]enter",
                                      "VirtualKey_Initialize(\"gamepad-service\")", "I: [Initialize]exit",
                                      "tzplatform_getenv(77)", "I: Create [GamepadMonitor] thread success", "I: Exit",
                                      "g_main_loop_new()", "g_main_loop_run()"}));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: Initialize", "Enter"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadMonitor.cpp: Start", "Enter"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: Initialize", "Exit"));
}

TEST_F(TheProcess, StopsStepByStepOnTheMainThread) {
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_THAT(platform.TimelineOf(kMainThread),
                ContainsInOrder(Texts{"g_main_loop_run()",
                                      "I: unref gmain loop",
                                      "g_main_loop_unref()",
                                      "I: Enter",
                                      "I: Wait [GamepadEventDispatcher] thread exit...",
                                      "I: Wait [GamepadEventDispatcher] thread exit",
                                      "I: [DeInitialize]enter",
                                      "VirtualKey_Finalize()",
                                      "I: [DeInitialize]exit",
                                      "I: Wait [GamepadMonitor] thread exit...",
                                      "I: [GamepadMonitor] thread exit",
                                      "I: Exit",
                                      "I: Enter",
                                      "aul_listen_app_status_signal(null, null)",
                                      "I: Destructor is called",
                                      "E: Please call [Initialize] first",
                                      "I: Destructor is called",
                                      "I: Enter",
                                      "E: Please call[Initialize]first",
                                      "E: quorvex Exit"}));
    EXPECT_EQ(platform.Timeline().back(), "E: quorvex Exit");
}

TEST_F(TheProcess, StopsFromTheRightPlaces) {
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "main.cpp: main", "unref gmain loop"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: DeInitialize",
                                "Wait [GamepadEventDispatcher] thread exit..."));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: DeInitialize",
                                "Wait [GamepadEventDispatcher] thread exit"));
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: DeInitialize", "Wait [GamepadMonitor] thread exit..."));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: DeInitialize", "[GamepadMonitor] thread exit"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: DeInitialize", "Exit"));
}

TEST_F(TheProcess, WaitsForTheDispatcherThreadToCloseTheLibrary) {
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_THAT(platform.Timeline(),
                ContainsInOrder(Texts{"I: Wait [GamepadEventDispatcher] thread exit...", "gamepad_close()",
                                      "I: Wait [GamepadEventDispatcher] thread exit", "VirtualKey_Finalize()"}));
    EXPECT_EQ(platform.Calls("gamepad_close").at(0).thread, kDispatcherThread);
}

TEST_F(TheProcess, DestroysTheContextManagerBeforeTheDispatcher) {
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_THAT(
        PlacesOf(platform, "Destructor is called"),
        ElementsAre("GamepadContextManager.cpp: ~GamepadContextManager",
                    "GamepadEventDispatcher.cpp: ~GamepadEventDispatcher", "GamepadMonitor.cpp: ~GamepadMonitor",
                    "GamepadRemoteController.cpp: ~GamepadRemoteController", "AppLauncher.cpp: ~AppLauncher"));
}

// The start may say the same from StartMenuMode: the dispatcher's thread is sometimes faster than Initialize.
TEST_F(TheProcess, DeInitialisesTwiceAtEveryShutdown) {
    ASSERT_EQ(process->Stop(), 0);
    const Texts dispatcher = PlacesOf(platform, "Please call[Initialize]first");
    EXPECT_EQ(std::count(dispatcher.begin(), dispatcher.end(), "GamepadEventDispatcher.cpp: DeInitialize"), 1);
    EXPECT_THAT(PlacesOf(platform, "Please call [Initialize] first"),
                ElementsAre("GamepadContextManager.cpp: DeInitialize"));
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "Please call[Initialize]first"));
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "Please call [Initialize] first"));
}

TEST_F(TheProcess, ShowsItsExitInErrorFilteredLogs) {
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "main.cpp: main", "quorvex Exit"));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "quorvex Exit"), 0);
}

TEST_F(TheProcess, LeavesNothingBehind) {
    Plug("pad");
    platform.PressButton("pad", 0);
    ASSERT_TRUE(platform.WaitForKeys(1));
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
    EXPECT_EQ(gLoop.load(), nullptr);
}

TEST_F(TheProcess, WritesEveryMessageToTheMainBuffer) {
    ASSERT_EQ(process->Stop(), 0);
    for (const LogLine& line : platform.LogLines()) {
        EXPECT_EQ(line.buffer, LOG_ID_MAIN) << line.text;
    }
}

TEST_F(TheProcess, LivesASecondTime) {
    ASSERT_EQ(process->Stop(), 0);
    process.reset();
    FakeLog& log = platform;
    log.ForgetLog();
    process = std::make_unique<ServiceProcess>(platform);
    ASSERT_TRUE(process->WaitUntilRunning());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[1]"));
    EXPECT_EQ(process->Stop(), 0);
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 2);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
    platform.AllowViolations();  // the double knows one life of the connection
}

TEST_F(TheProcess, QuitsOnlyALoopThatExists) {
    ASSERT_EQ(process->Stop(), 0);
    const Texts before = platform.Timeline();
    QuitMainLoop();
    EXPECT_EQ(platform.Timeline(), before);
}

TEST_F(WholeProgram, EndedDuringItsStartPollsNoPad) {
    Door door;
    platform.AddPad("pad");
    platform.OnCall("gamepad_get_abs_value_range", door.CallHook());
    ServiceProcess process(platform);
    ASSERT_TRUE(runTime.WaitForLoopCall("g_main_loop_run"));
    ASSERT_TRUE(door.WaitForVisitor());
    process.Signal(SIGTERM);
    ASSERT_TRUE(platform.WaitForLog("Wait [GamepadEventDispatcher] thread exit..."));
    door.Open();
    EXPECT_EQ(process.WaitForEnd(), 0);
    EXPECT_EQ(platform.CallCount("gamepad_get_events"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 1);
}

// ---- A start that fails

class AFailedStart : public WholeProgram {
protected:
    void SetUp() override { platform.ExpectError("Call[Initialize]err"); }

    /// Runs the program to its end. Nothing of it may be left then.
    void RunAndFail() {
        {
            ServiceProcess process(platform);
            EXPECT_EQ(process.WaitForEnd(), -1);
        }
        EXPECT_TRUE(platform.Logged(DLOG_ERROR, "main.cpp: main", "Call[Initialize]err"));
        EXPECT_THAT(platform.Leftovers(), IsEmpty());
        EXPECT_THAT(platform.Timeline(), Not(Contains("g_main_loop_new()")));
        EXPECT_THAT(platform.Timeline(), Not(Contains("E: quorvex Exit")));
    }
    /// Both instances are gone, the dispatcher first.
    void ExpectBothDestroyedInOrder() {
        const Texts places = PlacesOf(platform, "Destructor is called");
        EXPECT_THAT(places, ContainsInOrder(Texts{"GamepadEventDispatcher.cpp: ~GamepadEventDispatcher",
                                                  "GamepadContextManager.cpp: ~GamepadContextManager"}));
        EXPECT_EQ(places.size(), PlacesOf(platform, "Constructor is called").size());
    }
};

TEST_F(AFailedStart, WithoutMemoryForTheContextManager) {
    runTime.RefuseMemory(sizeof(GamepadContextManager));
    platform.ExpectError("[context_manager]NULL");
    RunAndFail();
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "main.cpp: Initialize", "[context_manager]NULL"));
    EXPECT_THAT(PlacesOf(platform, "Constructor is called"), IsEmpty());
}

TEST_F(AFailedStart, WithoutMemoryForTheDispatcherDestroysTheContextManager) {
    runTime.RefuseMemory(sizeof(GamepadEventDispatcher));
    platform.ExpectError("[event_dispatcher]NULL");
    RunAndFail();
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "main.cpp: Initialize", "[event_dispatcher]NULL"));
    EXPECT_THAT(PlacesOf(platform, "Constructor is called"),
                ElementsAre("GamepadContextManager.cpp: GamepadContextManager"));
    EXPECT_THAT(PlacesOf(platform, "Destructor is called"),
                ElementsAre("GamepadContextManager.cpp: ~GamepadContextManager"));
}

TEST_F(AFailedStart, WithoutApplicationStatusLeavesTheDispatcherUninitialised) {
    platform.FailAlways("aul_listen_app_status_signal");
    platform.ExpectError("Call[aul_listen_app_status_signal]err");
    RunAndFail();
    EXPECT_EQ(platform.CallCount("VirtualKey_Initialize"), 0);
    ExpectBothDestroyedInOrder();
}

TEST_F(AFailedStart, WithoutVirtualKeysStartsNoThread) {
    platform.Return("VirtualKey_Initialize", -3);
    platform.ExpectError("Call[VirtualKey_Initialize]err[-3]");
    RunAndFail();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: Initialize",
                                "Call[m_oRemoteController.Initialize()]err"));
    EXPECT_EQ(platform.CallCount("gamepad_open_for_custom_mode"), 0);
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 0);
    ExpectBothDestroyedInOrder();
}

TEST_F(AFailedStart, WithoutTheDispatcherThreadTakesTheTranslatorBack) {
    runTime.RefuseThread(RunTime::kDispatcher);
    platform.ExpectError("pthread_create() threadname:[GamepadEventDispatcher]");
    platform.ExpectError("CThread not created: errno = ");
    platform.ExpectError("Create[GamepadEventDispatcher]failed!");
    RunAndFail();
    EXPECT_TRUE(
        platform.Logged(DLOG_ERROR, "GamepadEventDispatcher.cpp: Initialize", "Create[GamepadEventDispatcher]failed!"));
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 1);
    EXPECT_EQ(platform.CallCount("gamepad_open_for_custom_mode"), 0);
    ExpectBothDestroyedInOrder();
    // The exit semaphore of a thread that never was stays created; its destructor says so.
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "CSemaphore.cpp")));
}

/// The monitor's thread is refused after the dispatcher's was created.
class AFailedStartOfTheMonitor : public AFailedStart {
protected:
    void SetUp() override {
        AFailedStart::SetUp();
        runTime.RefuseThread(RunTime::kMonitor);
        platform.ExpectError("pthread_create() threadname:[GamepadMonitor]");
        platform.ExpectError("CThread not created: errno = ");
        platform.ExpectError("Create[GamepadMonitor] thread failed!");
        platform.ExpectError("Call[m_oGamepadMonitor.Create()]err");
    }
    void TearDown() override {
        EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "CSemaphore.cpp")));
    }
};

TEST_F(AFailedStartOfTheMonitor, TakesTheTranslatorBack) {
    RunAndFail();
    EXPECT_TRUE(
        platform.Logged(DLOG_ERROR, "GamepadEventDispatcher.cpp: Initialize", "Call[m_oGamepadMonitor.Create()]err"));
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 1);
    ExpectBothDestroyedInOrder();
}

TEST_F(AFailedStartOfTheMonitor, EndsTheDispatcherThreadBeforeItsObjectDies) {
    Door door;
    platform.AddPad("pad");
    platform.OnCall("gamepad_open_for_custom_mode", door.CallHook());
    std::optional<ServiceProcess> process(std::in_place, platform);
    ASSERT_TRUE(platform.WaitForLog("Call[m_oGamepadMonitor.Create()]err"));
    ASSERT_TRUE(door.WaitForVisitor());
    EXPECT_EQ(process->WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_THAT(PlacesOf(platform, "Destructor is called"), IsEmpty());
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), -1);
    process.reset();
    EXPECT_THAT(platform.Timeline(), ContainsInOrder(Texts{"gamepad_close()", "I: Destructor is called"}));
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(AFailedStartOfTheMonitor, LetsTheThreadReachTheDispatcherOnItsWayOut) {
    Door door;
    platform.SetApp(123, "game", 2);
    platform.SetGameApps("123");
    platform.OnCall("aul_app_get_status", door.CallHook());
    std::optional<ServiceProcess> process(std::in_place, platform);
    ASSERT_TRUE(platform.WaitForLog("Call[m_oGamepadMonitor.Create()]err"));
    ASSERT_TRUE(door.WaitForVisitor());
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), -1);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "The new added gameapp (pid=123) is focus, stop menumode."));
    process.reset();
    ExpectBothDestroyedInOrder();
}

// Whoever switches menu mode at that moment holds the dispatcher, or finds another one.
TEST_F(AFailedStartOfTheMonitor, MayBeMetByFocusSignals) {
    constexpr int kSignals = 400;
    platform.AllowErrors();
    platform.OnCall("VirtualKey_Finalize", [this](const Call&) {
        for (int i = 0; i < kSignals; ++i) {
            platform.SendAppStatus(i, 5);
        }
    });
    {
        ServiceProcess process(platform);
        EXPECT_EQ(process.WaitForEnd(), -1);
    }
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    Singleton<GamepadEventDispatcher>::DestroyInstance();
    EXPECT_EQ(PlacesOf(platform, "Destructor is called").size(), PlacesOf(platform, "Constructor is called").size());
}

TEST_F(WholeProgram, ADispatcherWithoutItsMonitorPollsUntilItDies) {
    is_gamepad_service_accessible = true;
    platform.AllowErrors();
    platform.AddPad("pad");
    runTime.RefuseThread(RunTime::kMonitor);
    {
        GamepadEventDispatcher dispatcher;
        EXPECT_FALSE(dispatcher.Initialize());
        EXPECT_TRUE(dispatcher.FlagCreate());
        const int before = platform.CallCount("gamepad_get_events");
        EXPECT_TRUE(platform.WaitForCall("gamepad_get_events", before + 2));
        EXPECT_EQ(platform.CallCount("gamepad_close"), 0);
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "CSemaphore.cpp")));
}

// A platform may tell everything on one thread. What is told may need an instance while the platform waits for its end.
class AFailedStartWithFocusSignals : public AFailedStartOfTheMonitor {
protected:
    void SetUp() override {
        AFailedStartOfTheMonitor::SetUp();
        platform.AllowError(kRefused);
        platform.SetSmartMonitor(true);
    }
    /// Sends one signal and waits until the dispatcher, or another one, has answered it.
    void Signal() {
        const int before = platform.LogCount(DLOG_ERROR, kRefused);
        platform.SendAppStatus(1, 5);
        EXPECT_TRUE(platform.WaitForLog(kRefused, before + 1));
    }
    static constexpr char kRefused[] = "Please call[Initialize]first";
};

TEST_F(AFailedStartWithFocusSignals, GivesUpTheStandbyNoticesBeforeTheDispatcherDies) {
    platform.OnCall("device_power_unsubscribe_standby_event", [this](const Call&) { Signal(); });
    RunAndFail();
    EXPECT_THAT(platform.Timeline(),
                ContainsInOrder(Texts{"device_power_unsubscribe_standby_event(ptr)",
                                      "aul_listen_app_status_signal(null, null)", "I: Destructor is called"}));
}

TEST_F(WholeProgram, WithoutTheSignalRelayTheProgramTakesDownWhatItStarted) {
    runTime.RefuseThread(RunTime::kSignalRelay);
    platform.ExpectError("pthread_create() threadname:[SignalRelay]");
    platform.ExpectError("CThread not created: errno = ");
    platform.ExpectError("Create[SignalRelay]failed!");
    {
        ServiceProcess process(platform);
        EXPECT_EQ(process.WaitForEnd(), -1);
    }
    EXPECT_FALSE(PlacesOf(platform, "Constructor is called").empty());
    EXPECT_EQ(PlacesOf(platform, "Destructor is called").size(), PlacesOf(platform, "Constructor is called").size());
    EXPECT_THAT(platform.Timeline(), Not(Contains("g_main_loop_new()")));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("FlagCreate() == false", "CSemaphore.cpp")));
}

TEST_F(WholeProgram, WithoutAMainLoopTheProgramEndsAndTakesNothingDown) {
    runTime.RefuseMainLoop();
    platform.ExpectError("gLoop is NULL!");
    {
        ServiceProcess process(platform);
        EXPECT_EQ(process.WaitForEnd(), -1);
    }
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "main.cpp: main", "gLoop is NULL!"));
    EXPECT_THAT(PlacesOf(platform, "Destructor is called"), IsEmpty());
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 0);
    EXPECT_THAT(platform.Leftovers(), Contains("VirtualKey_Initialize"));
    EXPECT_THAT(platform.Timeline(), Not(Contains("g_main_loop_unref()")));
    DeInitialize();
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

// ---- The free functions, without the program around them

TEST_F(WholeProgram, InitialisedInstancesAreTakenDownByDeInitialize) {
    platform.AllowError("Please call");
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(platform.WaitForCall("gamepad_open_for_custom_mode"));
    DeInitialize();
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
    EXPECT_EQ(PlacesOf(platform, "Destructor is called").size(), PlacesOf(platform, "Constructor is called").size());
}

TEST_F(WholeProgram, DeInitializeBuildsTheInstancesThatItLacks) {
    platform.ExpectError("Please call[Initialize]first");
    platform.ExpectError("Please call [Initialize] first");
    DeInitialize();
    const Texts built = PlacesOf(platform, "Constructor is called");
    EXPECT_EQ(built.back(), "GamepadContextManager.cpp: GamepadContextManager");
    EXPECT_EQ(PlacesOf(platform, "Destructor is called").size(), built.size());
}

// ---- Notices that are under way while everything is taken down

class ANoticeUnderWay : public RunningService {
protected:
    /// "gamepad-service" has gone, so the callbacks stay registered while the instances are destroyed.
    void LoseTheService() {
        process->Signal(SIGUSR1);
        ASSERT_TRUE(platform.WaitForLog("[gamepad-service]has exited already"));
    }
    /// Instances that a late notice has built.
    static void DestroyStrays() {
        Singleton<GamepadContextManager>::DestroyInstance();
        Singleton<GamepadEventDispatcher>::DestroyInstance();
    }
};

TEST_F(ANoticeUnderWay, OfAPadKeepsTheDispatcherAlive) {
    Door door;
    platform.OnCall("gamepad_create_device", door.CallHook());
    platform.Connect("late pad");
    ASSERT_TRUE(door.WaitForVisitor());
    LoseTheService();
    EXPECT_EQ(process->WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_THAT(PlacesOf(platform, "Destructor is called"),
                Not(Contains("GamepadEventDispatcher.cpp: ~GamepadEventDispatcher")));
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
}

TEST_F(ANoticeUnderWay, OfALeavingPadStillFindsItInTheTable) {
    platform.AllowViolations();  // the pad is closed for the second time
    Door door;
    Plug("pad");
    platform.OnCall("VirtualKey_Finalize", door.CallHook());
    LoseTheService();
    ASSERT_TRUE(door.WaitForVisitor());
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 1);
    platform.Disconnect("pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(platform.CallTexts("gamepad_destroy_device"),
                ElementsAre("gamepad_destroy_device(0)", "gamepad_destroy_device(0)"));
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
}

TEST_F(ANoticeUnderWay, OfAGameKeepsTheContextManagerAlive) {
    Door door;
    platform.SetApp(123, "game", 2);
    platform.OnCall("aul_app_get_status", door.CallHook());
    platform.SendGameAppNotice(GAMEAPP_OPENED, 123);
    ASSERT_TRUE(door.WaitForVisitor());
    LoseTheService();
    EXPECT_EQ(process->WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_THAT(PlacesOf(platform, "Destructor is called"), IsEmpty());
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "The new added gameapp (pid=123) is focus, stop menumode."));
}

TEST_F(ANoticeUnderWay, FindsAnInstanceAtEveryMomentOfTheShutdown) {
    constexpr int kNotices = 300;
    platform.AllowErrors();
    platform.AddPad("other pad");
    for (int i = 0; i < kNotices; ++i) {
        platform.SendConnectionNotice(GAMEPAD_CONNECTED, "other pad");
        platform.SendGameAppNotice(GAMEAPP_OPENED, i);
        platform.SendConnectionNotice(GAMEPAD_DISCONNECTED, "unknown pad");
        platform.SendGameAppNotice(GAMEAPP_CLOSED, i);
        platform.SendAppStatus(i, 5);
    }
    process->Signal(SIGUSR1);
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_TRUE(platform.WaitUntilNoticesTold());
    DestroyStrays();
    EXPECT_EQ(PlacesOf(platform, "Destructor is called").size(), PlacesOf(platform, "Constructor is called").size());
}

TEST_F(ANoticeUnderWay, ReachesNobodyAfterAnOrderlyEnd) {
    ASSERT_EQ(process->Stop(), 0);
    const Texts before = platform.Timeline();
    platform.Connect("late pad");
    platform.SendGameAppNotice(GAMEAPP_OPENED, 1);
    platform.SendAppStatus(1, 5);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    EXPECT_EQ(platform.Timeline(), before);
}

TEST_F(ANoticeUnderWay, BuildsAFreshDispatcherOnceTheOldOneIsGone) {
    platform.AllowErrors();
    process->Signal(SIGUSR1);
    ASSERT_EQ(process->WaitForEnd(), 0);
    platform.Connect("late pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(PlacesOf(platform, "Constructor is called").back(), "GamepadEventDispatcher.cpp: GamepadEventDispatcher");
    EXPECT_EQ(platform.DeviceId("late pad"), 0);
    DestroyStrays();
}

TEST_F(ANoticeUnderWay, IsLostWithoutMemoryForAFreshInstance) {
    platform.AllowErrors();
    process->Signal(SIGUSR1);
    ASSERT_EQ(process->WaitForEnd(), 0);
    runTime.RefuseMemory(sizeof(GamepadEventDispatcher));
    platform.Connect("late pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    runTime.RefuseMemory(sizeof(GamepadContextManager));
    platform.SendGameAppNotice(GAMEAPP_OPENED, 1);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(platform.CallCount("gamepad_create_device"), 0);
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "RegisterGameAppPID with pid 1"));
}

}  // namespace
