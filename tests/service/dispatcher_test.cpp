// The dispatcher's thread: how it opens the gamepad library, polls the pads and routes each event, and how it ends.

#include <glib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <thread>

#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "main.h"
#include "running_service.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr int kHome = 14;
constexpr char kActivity[] = "GamepadMonitor.cpp: IncreaseActiveNumber";
constexpr char kBody[] = "GamepadEventDispatcher.cpp: t_Main";

/// Messages that begin so, in their order.
Texts MessagesThatBegin(const FakePlatform& platform, const std::string& beginning) {
    Texts found;
    for (const std::string& message : platform.LogMessages()) {
        if (message.rfind(beginning, 0) == 0) {
            found.push_back(message);
        }
    }
    return found;
}

class TheDispatcher : public RunningService {
protected:
    void Prepare() override { platform.AddPad("pad"); }
    void Handle(int type, int code, int value) {
        platform.PushEvent("pad", type, code, value);
        ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    }
    int Activities() const {
        const std::vector<LogLine> lines = platform.LogLines();
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const LogLine& line) {
            return line.where == kActivity && line.message == "Enter";
        }));
    }
    size_t PausesSoFar() const {
        const std::vector<Pause> pauses = runTime.Pauses();
        return static_cast<size_t>(std::count_if(pauses.begin(), pauses.end(),
                                                 [](const Pause& pause) { return pause.thread == kDispatcherThread; }));
    }
    void WaitForPasses(size_t passes) { ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, PausesSoFar() + passes)); }
};

// ---- Opening

TEST_F(TheDispatcher, OpensTheLibraryThenTheGamesThenThePads) {
    EXPECT_THAT(platform.TimelineOf(kDispatcherThread),
                ContainsInOrder(
                    Texts{"gamepad_open_for_custom_mode(1, 0)", "gamepad_register_connection_callback(ptr, null)",
                          "gamepad_register_gameapp_status_callback(ptr, null)",
                          "gamepad_get_all_gameapp_info_list(ptr)", "gamepad_get_connected_gampad_count()",
                          "gamepad_create_device(\"pad\", ptr)", "I: Loop to handle gamepad key event: menumode[1]"}));
    EXPECT_EQ(platform.Timeline().front(), "I: quorvex Start");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, kBody, "Loop to handle gamepad key event: menumode[1]"));
}

TEST_F(WholeProgram, RefusedCallbacksDoNotStopTheDispatcher) {
    platform.AddPad("pad");
    platform.FailAlways("gamepad_register_connection_callback");
    platform.FailAlways("gamepad_register_gameapp_status_callback");
    platform.AllowViolations();  // it gives back at its end what it did not get
    ServiceProcess process(platform);
    ASSERT_TRUE(process.WaitUntilRunning());
    platform.PressButton("pad", 0);
    EXPECT_TRUE(platform.WaitForKeys(1));
}

class ARefusedConnection : public WholeProgram {
protected:
    static void WaitForTheEndOfThread(pid_t tid) {
        const auto deadline = std::chrono::steady_clock::now() + kSoon;
        while (syscall(SYS_tgkill, getpid(), tid, 0) == 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
    }
    static std::string Refusal() {
        return "Call[gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU)]failed, exit[quorvex]process";
    }
    void SetUp() override {
        platform.FailAlways("gamepad_open_for_custom_mode");
        platform.ExpectError(Refusal());
    }
};

TEST_F(ARefusedConnection, EndsTheProgramOrderly) {
    Door door;
    platform.OnCall("gamepad_open_for_custom_mode", door.CallHook());
    ServiceProcess process(platform);
    ASSERT_TRUE(runTime.WaitForLoopCall("g_main_loop_run"));
    door.Open();
    EXPECT_EQ(process.WaitForEnd(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, kBody, Refusal()));
    EXPECT_THAT(platform.TimelineOf(kDispatcherThread),
                ContainsInOrder(Texts{"E: " + Refusal(), "g_main_loop_quit()"}));
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "quorvex Exit"));
}

TEST_F(ARefusedConnection, RegistersAndCleansUpNothing) {
    {
        Door door;
        platform.AddPad("pad");
        platform.OnCall("gamepad_open_for_custom_mode", door.CallHook());
        ServiceProcess process(platform);
        ASSERT_TRUE(runTime.WaitForLoopCall("g_main_loop_run"));
        door.Open();
        EXPECT_EQ(process.WaitForEnd(), 0);
    }
    for (const char* const function :
         {"gamepad_register_connection_callback", "gamepad_register_gameapp_status_callback",
          "gamepad_get_all_gameapp_info_list", "gamepad_get_connected_gampad_count", "gamepad_create_device",
          "gamepad_unregister_connection_callback", "gamepad_unregister_gameapp_status_callback", "gamepad_close"}) {
        EXPECT_EQ(platform.CallCount(function), 0) << function;
    }
}

TEST_F(ARefusedConnection, IsForgottenWhenThereIsNoLoopYet) {
    runTime.Before("g_main_loop_new", [this] {
        ASSERT_TRUE(platform.WaitForLog(Refusal()));
        WaitForTheEndOfThread(platform.Calls("gamepad_open_for_custom_mode").at(0).tid);
    });
    ServiceProcess process(platform);
    ASSERT_TRUE(runTime.WaitForLoopCall("g_main_loop_run"));
    EXPECT_EQ(process.WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_THAT(platform.Timeline(), Not(Contains("g_main_loop_quit()")));
    EXPECT_EQ(process.Stop(), 0);
}

TEST_F(ARefusedConnection, EndsALoopThatDoesNotRunYet) {
    Door door;
    platform.OnCall("gamepad_open_for_custom_mode", door.CallHook());
    runTime.Before("g_main_loop_run", [&] {
        door.Open();
        EXPECT_TRUE(runTime.WaitForLoopCall("g_main_loop_quit"));
    });
    ServiceProcess process(platform);
    EXPECT_EQ(process.WaitForEnd(), 0);
}

// Any answer but 1 is a refusal.
class AnAnswerToOpening : public ARefusedConnection, public testing::WithParamInterface<int> {};

TEST_P(AnAnswerToOpening, OtherThanOneIsARefusal) {
    platform.Return("gamepad_open_for_custom_mode", GetParam());
    ServiceProcess process(platform);
    EXPECT_TRUE(platform.WaitForLog(Refusal()));
    process.Stop();
    EXPECT_EQ(platform.CallCount("gamepad_register_connection_callback"), 0);
}

INSTANTIATE_TEST_SUITE_P(ByTheLibrary, AnAnswerToOpening, testing::Values(0, -1, 2));

// In a process of its own, where main has never run and nobody releases the loop.
TEST_F(WholeProgram, TheLoopOfAnotherMainIsAskedToEndAndNotWaitedFor) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto live = [this] {
        alarm(60);
        platform.FailAlways("gamepad_open_for_custom_mode");
        gLoop = g_main_loop_new(nullptr, TRUE);
        GamepadEventDispatcher dispatcher;
        const bool isAsked = dispatcher.Initialize() && runTime.WaitForLoopCall("g_main_loop_quit");
        dispatcher.DeInitialize();
        _exit(isAsked && !g_main_loop_is_running(gLoop) ? 0 : 1);
    };
    EXPECT_EXIT(live(), testing::ExitedWithCode(0), "");
}

// ---- Polling

TEST_F(TheDispatcher, AsksForSixteenEventsAndPausesFiftyMilliseconds) {
    WaitForPasses(3);
    EXPECT_THAT(platform.CallTexts("gamepad_get_events"), Each(std::string("gamepad_get_events(0, 16)")));
    for (const Pause& pause : runTime.Pauses()) {
        EXPECT_EQ(pause.microseconds, pause.thread == kDispatcherThread ? 50000U : pause.microseconds);
    }
    EXPECT_EQ(platform.Calls("gamepad_get_events").at(0).thread, kDispatcherThread);
}

TEST_F(RunningService, WithoutPadsOnlyTheLockIsTakenAndTheLoopGoesOn) {
    ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, 3));
    const size_t entries = platform.TimelineOf(kDispatcherThread).size();
    ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, 8));
    EXPECT_EQ(platform.TimelineOf(kDispatcherThread).size(), entries);
    EXPECT_EQ(platform.CallCount("gamepad_get_events"), 0);
}

TEST_F(TheDispatcher, LeavesWhatIsBeyondSixteenEventsForTheNextPass) {
    constexpr int kEvents = 40;
    Door door;
    platform.OnCall("gamepad_get_events", door.CallHook());
    ASSERT_TRUE(door.WaitForVisitor());
    for (int i = 0; i < kEvents; ++i) {
        platform.PushEvent("pad", 3, 100 + i, i);
    }
    door.Open();
    ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    const Texts events = MessagesThatBegin(platform, "Get a event[");
    ASSERT_THAT(events, SizeIs(kEvents));
    for (int i = 0; i < kEvents; ++i) {
        EXPECT_THAT(events.at(static_cast<size_t>(i)),
                    testing::HasSubstr(",3," + std::to_string(100 + i) + "," + std::to_string(i) + "]"));
    }
    EXPECT_EQ(Activities(), 3);  // 16 + 16 + 8
}

TEST_F(TheDispatcher, SkipsAPadThatHasNothingAndGoesOnWithTheNext) {
    Plug("second");
    platform.AnswerGetEvents([](int device, _gamepad_event_s* events, int* count) {
        if (device == 0) {
            return 0;
        }
        *count = 1;
        events[0] = {5, 1, 0, 1};
        return 1;
    });
    ASSERT_TRUE(platform.WaitForKeys(1));
    platform.AnswerGetEvents({});
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(TheDispatcher, GivesEveryPadRoomForSixteenEvents) {
    Plug("second");
    platform.AnswerGetEvents([](int, _gamepad_event_s*, int* count) {
        *count = 1;
        return 0;
    });
    WaitForPasses(3);
    platform.AnswerGetEvents({});
    EXPECT_THAT(platform.CallTexts("gamepad_get_events"),
                Each(testing::AnyOf("gamepad_get_events(0, 16)", "gamepad_get_events(1, 16)")));
    EXPECT_THAT(platform.CallTexts("gamepad_get_events"), Contains("gamepad_get_events(1, 16)"));
}

class AnAnswerThatIsNotOne : public TheDispatcher, public testing::WithParamInterface<int> {};

TEST_P(AnAnswerThatIsNotOne, IsNeitherActivityNorAnEvent) {
    platform.AnswerGetEvents([answer = GetParam()](int, _gamepad_event_s* events, int* count) {
        *count = 1;
        events[0] = {5, 1, 0, 1};
        return answer;
    });
    WaitForPasses(3);
    EXPECT_EQ(Activities(), 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(MessagesThatBegin(platform, "Get a event["), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfTheLibrary, AnAnswerThatIsNotOne, testing::Values(0, -1, 2));

struct Count {
    int told;
    size_t handled;
};
class ACount : public TheDispatcher, public testing::WithParamInterface<Count> {};

TEST_P(ACount, BeyondTheRoomIsCutToIt) {
    std::atomic<int> calls{0};
    platform.AnswerGetEvents([&calls, told = GetParam().told](int, _gamepad_event_s* events, int* count) {
        if (++calls > 1) {
            return 0;
        }
        for (int i = 0; i < *count; ++i) {
            events[i] = {1, 3, 100, i};
        }
        *count = told;
        return 1;
    });
    ASSERT_TRUE(platform.WaitForCall("gamepad_get_events"));
    WaitForPasses(3);
    platform.AnswerGetEvents({});
    EXPECT_THAT(MessagesThatBegin(platform, "Get a event["), SizeIs(GetParam().handled));
    EXPECT_EQ(Activities(), 1);
}

INSTANTIATE_TEST_SUITE_P(OfEvents, ACount,
                         testing::Values(Count{0, 0}, Count{-1, 0}, Count{INT_MIN, 0}, Count{1, 1}, Count{16, 16},
                                         Count{17, 16}, Count{1000000, 16}, Count{INT_MAX, 16}),
                         [](const auto& test) {
                             return (test.param.told < 0 ? "Minus" : "") +
                                    std::to_string(std::abs(static_cast<long long>(test.param.told)));
                         });

// ---- Routing

TEST_F(TheDispatcher, LogsEveryNumberOfAnEvent) {
    std::atomic<int> calls{0};
    platform.AnswerGetEvents([&calls](int, _gamepad_event_s* events, int* count) {
        if (++calls > 1) {
            return 0;
        }
        *count = 2;
        events[0] = {UINT64_MAX, -1, INT_MIN, INT_MIN};
        events[1] = {4294967296, INT_MAX, 0, INT_MAX};
        return 1;
    });
    ASSERT_TRUE(platform.WaitForLog("Get a event[4294967296,2147483647,0,2147483647], [MenuMode]"));
    platform.AnswerGetEvents({});
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, kBody, "Get a event[18446744073709551615,-1,-2147483648,-2147483648], [MenuMode]"));
}

TEST_F(TheDispatcher, TellsTheMonitorBeforeTheEventsAreHandled) {
    Handle(1, 0, 1);
    EXPECT_THAT(
        platform.TimelineOf(kDispatcherThread),
        ContainsInOrder(Texts{"I: Enter", "I: Get a event[1,1,0,1], [MenuMode]", "I: Call[LaunchAppCheck]with[0]",
                              "I: [Menu Mode]Get a event from [pad]:time[1]type[1]code[0]val[1]",
                              "VirtualKey_Send_KeyCode(36, 1)"}));
    EXPECT_EQ(Activities(), 1);
    EXPECT_EQ(platform.TakeKeys().at(0).thread, kDispatcherThread);
}

TEST_F(TheDispatcher, OffersOnlyPressesOfButtonsToTheLauncher) {
    Handle(1, 5, 0);
    Handle(1, 5, 2);
    Handle(3, 5, 1);
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Call[LaunchAppCheck]with[5]"));
    Handle(1, 5, 1);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Call[LaunchAppCheck]with[5]"));
}

TEST_F(TheDispatcher, HandsHomeWithItsDeviceToItsOwnHandler) {
    Plug("second");
    platform.PressButton("second", kHome);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71)));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "[MenuMode][HomeKey]PlaydeckStatus[0]EventValue[1]DeviceId[1]"));
    EXPECT_THAT(MessagesThatBegin(platform, "[Menu Mode]Get a event"), IsEmpty());
}

TEST_F(TheDispatcher, KnowsHomeByItsCodeWhateverTheType) {
    Handle(3, kHome, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71)));
    Handle(1, kHome, 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "[MenuMode][HomeKey]PlaydeckStatus[0]EventValue[0]DeviceId[0]"));
}

TEST_F(TheDispatcher, HandsHomeToItsHandlerOutsideMenuModeToo) {
    PlayGame(123);
    Handle(1, kHome, 1);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Get a event[1,1,14,1], [NOT MenuMode]"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "[GameMode][HomeKey]PlaydeckStatus[0]EventValue[1]DeviceId[0]"));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(TheDispatcher, OnlyReleasesTheHeldKeyOutsideMenuMode) {
    Handle(1, 0, 1);
    PlayGame(123);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    Handle(1, 1, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
    Handle(3, 16, -1);
    Handle(1, 0, 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(MessagesThatBegin(platform, "[Menu Mode]Get a event"), SizeIs(1));
}

// ---- A button that is bound to an application

class ABoundButton : public TheDispatcher {
protected:
    void Prepare() override {
        TheDispatcher::Prepare();
        ASSERT_NE(mkdtemp(directory_.data()), nullptr);
        ASSERT_EQ(mkdir((directory_ + "/accessory").c_str(), 0700), 0);
        std::ofstream(File()) << R"({"global_config": [{"key_code": 0, "runtitle": "title", "virtual_key": 600},
                                                       {"key_code": 14, "runtitle": "home", "virtual_key": 601}]})";
        platform.SetDirectory(77, directory_);
    }
    void TearDown() override {
        process.reset();
        unlink(File().c_str());
        rmdir((directory_ + "/accessory").c_str());
        rmdir(directory_.c_str());
    }
    std::string File() const { return directory_ + "/accessory/app_config.json"; }

    std::string directory_ = testing::TempDir() + "bound-XXXXXX";
};

TEST_F(ABoundButton, ReachesNeitherTheTranslatorNorTheHomeHandler) {
    Handle(1, 0, 1);
    Handle(1, kHome, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(600), Tapped(601)));
    EXPECT_THAT(MessagesThatBegin(platform, "[Menu Mode]Get a event"), IsEmpty());
    EXPECT_THAT(MessagesThatBegin(platform, "[MenuMode][HomeKey]"), IsEmpty());
}

TEST_F(ABoundButton, StillReachesTheTranslatorWithItsRelease) {
    Handle(1, 0, 0);
    EXPECT_THAT(MessagesThatBegin(platform, "[Menu Mode]Get a event"), SizeIs(1));
}

TEST_F(ABoundButton, LaunchesOutsideMenuModeAsWell) {
    PlayGame(123);
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(600)));
}

TEST_F(ABoundButton, IsAnOrdinaryButtonWhenTheLaunchFails) {
    platform.FailAlways("was_request_appid_by_runtitle");
    platform.ExpectError("Call[was_request_appid_by_runtitle]ret[");
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

// A batch of events is no unit: while a launch waits for the store's answer, menu mode may end for what follows.
TEST_F(ABoundButton, LetsMenuModeSwitchInTheMiddleOfItsPass) {
    platform.SendGameAppNotice(GAMEAPP_OPENED, 123);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    Door pass;
    Door store;
    platform.OnCall("gamepad_get_events", pass.CallHook());
    platform.OnCall("was_request_appid_by_runtitle", store.CallHook());
    ASSERT_TRUE(pass.WaitForVisitor());
    platform.PressButton("pad", 1);
    platform.ReleaseButton("pad", 1);
    platform.PressButton("pad", 0);
    platform.PressButton("pad", 1);
    pass.Open();
    ASSERT_TRUE(store.WaitForVisitor());
    Focus(123);
    store.Open();
    ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(9), Released(9), Tapped(600)));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Get a event[4,1,1,1], [NOT MenuMode]"));
}

// ---- The games that run already

class TheListOfGames : public WholeProgram {
protected:
    /// Starts with that list, but lets the dispatcher read it only when everything is initialised.
    void Start(const std::string& list) {
        platform.SetGameApps(list);
        Start();
    }
    void Start() {
        Door door;
        platform.OnCall("gamepad_get_all_gameapp_info_list", door.CallHook());
        process = std::make_unique<ServiceProcess>(platform);
        ASSERT_TRUE(runTime.WaitForLoopCall("g_main_loop_run"));
        door.Open();
        ASSERT_TRUE(process->WaitUntilRunning());
    }
    Texts Registered() const { return MessagesThatBegin(platform, "RegisterGameAppPID with pid "); }
    static std::string Place() { return "GamepadEventDispatcher.cpp: m_GetAllGameAppInfo"; }

    std::unique_ptr<ServiceProcess> process;
};

TEST_F(TheListOfGames, IsSplitAtCommasAndEmptyFieldsVanish) {
    Start("123,,456");
    EXPECT_THAT(Registered(), ElementsAre("RegisterGameAppPID with pid 123", "RegisterGameAppPID with pid 456"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "current game app info[123,,456]"));
    EXPECT_EQ(platform.CallTexts("aul_app_get_appid_bypid").size(), 2U);
}

TEST_F(TheListOfGames, HoldsOnePidWithoutAComma) {
    Start("77");
    EXPECT_THAT(Registered(), ElementsAre("RegisterGameAppPID with pid 77"));
}

TEST_F(TheListOfGames, MayBeginAndEndWithCommas) {
    Start(",1,2,");
    EXPECT_THAT(Registered(), ElementsAre("RegisterGameAppPID with pid 1", "RegisterGameAppPID with pid 2"));
}

TEST_F(TheListOfGames, OfCommasAloneRegistersNothing) {
    Start(",,,");
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "current game app info[,,,]"));
}

TEST_F(TheListOfGames, TurnsWhatIsNoNumberIntoPidZero) {
    Start("abc");
    EXPECT_THAT(Registered(), ElementsAre("RegisterGameAppPID with pid 0"));
    EXPECT_EQ(platform.CallCount("aul_app_get_appid_bypid"), 0);
}

TEST_F(TheListOfGames, ReadsNumbersAsFarAsTheyGo) {
    Start("12abc, 34,-5");
    EXPECT_THAT(Registered(), ElementsAre("RegisterGameAppPID with pid 12", "RegisterGameAppPID with pid 34",
                                          "RegisterGameAppPID with pid -5"));
}

TEST_F(TheListOfGames, TakesANumberThatIsTooLongForTheNearestPid) {
    Start("99999999999,-99999999999,99999999999999999999999,7");
    EXPECT_THAT(Registered(),
                ElementsAre("RegisterGameAppPID with pid 2147483647", "RegisterGameAppPID with pid -2147483648",
                            "RegisterGameAppPID with pid 2147483647", "RegisterGameAppPID with pid 7"));
}

TEST_F(TheListOfGames, MayBeLong) {
    std::string list;
    for (int pid = 1; pid <= 500; ++pid) {
        list += std::to_string(pid) + ",";
    }
    Start(list);
    EXPECT_THAT(Registered(), SizeIs(500));
}

TEST_F(TheListOfGames, StartsMenuModeWhenItIsEmpty) {
    Start("");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "there's no gameapp running yet, go to start menumode!"));
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: StartMenuMode", "Menu Mode has started already!"));
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[1]"));
}

TEST_F(TheListOfGames, MayBeUnreadable) {
    platform.SetGameApps("123");
    platform.FailAlways("gamepad_get_all_gameapp_info_list");
    Start();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "Call[gamepad_get_all_gameapp_info_list]err"));
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[1]"));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Menu Mode has started already!"));
}

TEST_F(TheListOfGames, StopsMenuModeWhenOneOfThemHasTheFocus) {
    platform.SetApp(456, "game", 2);
    Start("123,456");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[0]"));
}

TEST_F(TheListOfGames, LeavesMenuModeOnWhenNoneHasTheFocus) {
    platform.SetApp(456, "game", 1);
    Start("123,456");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[1]"));
}

// ---- The thread is faster than Initialize

class AFastThread : public WholeProgram {
protected:
    /// The main thread waits in the middle of Initialize until the dispatcher polls.
    void Run() {
        Door door;
        platform.OnCall("system_info_get_custom_bool", door.CallHook());
        process = std::make_unique<ServiceProcess>(platform);
        ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, 1));
        door.Open();
        ASSERT_TRUE(process->WaitUntilRunning());
    }
    std::unique_ptr<ServiceProcess> process;
};

TEST_F(AFastThread, MayNotStartMenuModeYet) {
    Run();
    EXPECT_TRUE(
        platform.Logged(DLOG_ERROR, "GamepadEventDispatcher.cpp: StartMenuMode", "Please call[Initialize]first"));
}

TEST_F(AFastThread, MayNotStopMenuModeYet) {
    platform.SetApp(123, "game", 2);
    platform.SetGameApps("123");
    Run();
    EXPECT_TRUE(
        platform.Logged(DLOG_ERROR, "GamepadEventDispatcher.cpp: StopMenuMode", "Please call[Initialize]first"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Loop to handle gamepad key event: menumode[1]"));
}

// ---- Life

TEST_F(TheDispatcher, SaysThatItIsInitialisedAlready) {
    EXPECT_TRUE(Singleton<GamepadEventDispatcher>::GetInstance()->Initialize());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: Initialize",
                                "[GamepadEventDispatcher] has been initialized already"));
    EXPECT_EQ(platform.CallCount("VirtualKey_Initialize"), 1);
}

TEST_F(TheDispatcher, EndsAfterThePassThatIsUnderWay) {
    Door door;
    platform.OnCall("gamepad_get_events", door.CallHook());
    ASSERT_TRUE(door.WaitForVisitor());
    process->Signal(SIGTERM);
    ASSERT_TRUE(platform.WaitForLog("Wait [GamepadEventDispatcher] thread exit..."));
    const int polls = platform.CallCount("gamepad_get_events");
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 0);
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_EQ(platform.CallCount("gamepad_get_events"), polls);
}

TEST_F(TheDispatcher, ClosesInTheOrderOfItsSteps) {
    ASSERT_EQ(process->Stop(), 0);
    const Texts all = platform.TimelineOf(kDispatcherThread);
    EXPECT_THAT(Texts(all.end() - 5, all.end()),
                ElementsAre("gamepad_destroy_device(0)", "I: Device with id [0] is destroyed",
                            "gamepad_unregister_connection_callback(ptr)",
                            "gamepad_unregister_gameapp_status_callback(ptr)", "gamepad_close()"));
}

TEST_F(WholeProgram, ADispatcherMayBeTakenDownWithoutEverHavingStarted) {
    platform.ExpectError("Please call[Initialize]first");
    {
        GamepadEventDispatcher dispatcher;
        dispatcher.DeInitialize();
        dispatcher.StartMenuMode();
        dispatcher.StopMenuMode();
        dispatcher.StopRemains();
    }
    EXPECT_THAT(PlacesOf(platform, "Please call[Initialize]first"),
                ElementsAre("GamepadEventDispatcher.cpp: DeInitialize", "GamepadEventDispatcher.cpp: StartMenuMode",
                            "GamepadEventDispatcher.cpp: StopMenuMode", "GamepadEventDispatcher.cpp: DeInitialize"));
}

}  // namespace
