// Which games run, which application has the focus, and what that means for menu mode.

#include <climits>
#include <thread>

#include "../../ContextManager/src/GamepadContextManager.h"
#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "running_service.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kGame = 123;
constexpr int kOther = 5;
constexpr int kIme = 77;
constexpr char kImeId[] = "com.velmora.tv.keypane-app";
constexpr char kAppLibrary[] = "aul-lib";
constexpr int kFg = 3;
constexpr int kFocus = 5;
constexpr int kHide = 7;
constexpr char kStarts[] = "All game apps are deactived, start menu mode";
constexpr char kStops[] = "There is game app is actived, stop menu mode";

std::string Place(const std::string& operation) {
    return "GamepadContextManager.cpp: " + operation;
}

class TheFocus : public RunningService {
protected:
    void Open(int pid) {
        platform.SendGameAppNotice(GAMEAPP_OPENED, pid);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
    void Close(int pid) {
        platform.SendGameAppNotice(GAMEAPP_CLOSED, pid);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
    void Signal(int pid, int status) {
        platform.SendAppStatus(pid, status);
        ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    }
    /// While somebody stands in the door, with the list of games locked.
    void ExpectFocusSignalToWaitFor(Door& door) {
        platform.SendAppStatus(kGame, kFocus);
        EXPECT_FALSE(platform.WaitUntilAppStatusTold(kForAWhile));
        EXPECT_FALSE(platform.Logged(DLOG_INFO, "A game app[123] on focus, so mark that"));
        door.Open();
        ASSERT_TRUE(platform.WaitUntilAppStatusTold());
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
    static GamepadContextManager& Manager() { return *Singleton<GamepadContextManager>::GetInstance(); }

    /// Menu mode as a user sees it: whether a hat, pushed and let go, sends a key.
    bool IsMenuModeOn() {
        if (platform.DeviceId("probe") == -1) {
            Plug("probe");
        }
        platform.TakeKeys();
        platform.MoveAxis("probe", 16, 1);
        platform.MoveAxis("probe", 16, 0);
        EXPECT_TRUE(platform.WaitUntilHandled("probe"));
        return !platform.TakeKeys().empty();
    }
    /// The messages that this thread wrote since the last look, in order.
    Texts News(const std::string& thread) {
        const Texts all = platform.TimelineOf(thread);
        size_t& seen = seen_[thread];
        Texts news(all.begin() + static_cast<std::ptrdiff_t>(seen), all.end());
        seen = all.size();
        return news;
    }

private:
    std::map<std::string, size_t> seen_;
};

// ---- Games open and close

TEST_F(TheFocus, AGameThatOpensInTheForegroundStopsMenuModeAtOnce) {
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    EXPECT_THAT(News(kGamepadLibrary),
                ElementsAre("I: Get GameApp status change callback! type[0](Open:0/Close:1), APP PID[123]",
                            "I: RegisterGameAppPID with pid 123", "I: Add gameapp pid to list(pid=123)",
                            "aul_app_get_appid_bypid(123, ptr, 256)", "aul_app_get_status(\"a.game\")",
                            "I: App[a.game] with pid [123] is focused. ",
                            "I: The new added gameapp (pid=123) is focus, stop menumode."));
    EXPECT_FALSE(IsMenuModeOn());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("GameAppStatusChangeCB"),
                                "Get GameApp status change callback! type[0](Open:0/Close:1), APP PID[123]"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("RegisterGameAppPID"), "RegisterGameAppPID with pid 123"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("RegisterGameAppPID"), "Add gameapp pid to list(pid=123)"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("RegisterGameAppPID"),
                                "The new added gameapp (pid=123) is focus, stop menumode."));
}

TEST_F(TheFocus, OnlyTheFocusedMessageGoesToTheSystemBuffer) {
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    int inSystemBuffer = 0;
    for (const LogLine& line : platform.LogLines()) {
        if (line.buffer == LOG_ID_SYSTEM) {
            ++inSystemBuffer;
            EXPECT_EQ(line.message, "App[a.game] with pid [123] is focused. ");
            EXPECT_EQ(line.where, Place("IsFocusApp"));
            EXPECT_EQ(line.priority, DLOG_INFO);
        }
    }
    EXPECT_EQ(inSystemBuffer, 1);
}

TEST_F(TheFocus, AGameThatOpensInTheBackgroundLeavesMenuModeAsItIs) {
    platform.SetApp(kGame, "a.game", 4);
    Open(kGame);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("IsFocusApp"), "App[a.game] with pid [123]'s status is [4]."));
    EXPECT_TRUE(IsMenuModeOn());
    platform.SetApp(124, "b.game", 2);
    Open(124);
    EXPECT_FALSE(IsMenuModeOn());
    platform.SetApp(125, "c.game", 1);
    Open(125);
    EXPECT_FALSE(IsMenuModeOn());
}

TEST_F(TheFocus, AGameRegisteredTwiceIsListedOnceAndAskedAgain) {
    platform.SetApp(kGame, "a.game", 1);
    Open(kGame);
    News(kGamepadLibrary);
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    EXPECT_THAT(News(kGamepadLibrary),
                ContainsInOrder(Texts{"I: gameapp pid already in the list. (pid=123)",
                                      "I: App[a.game] with pid [123] is focused. ",
                                      "I: The new added gameapp (pid=123) is focus, stop menumode."}));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("RegisterGameAppPID"), "gameapp pid already in the list. (pid=123)"));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Add gameapp pid to list(pid=123)"), 1);
    EXPECT_FALSE(IsMenuModeOn());
    Close(kGame);
    Signal(kGame, kFocus);  // one entry was there, and it is gone
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheFocus, AnIdThatFillsItsBufferLosesItsLastByte) {
    platform.SetApp(kGame, std::string(256, 'x'), 2);
    platform.SetApp(kOther, std::string(1000, 'y'), 2);
    Open(kGame);
    Open(kOther);
    EXPECT_THAT(platform.CallTexts("aul_app_get_status"),
                ElementsAre("aul_app_get_status(\"" + std::string(255, 'x') + "\")",
                            "aul_app_get_status(\"" + std::string(255, 'y') + "\")"));
    Signal(kGame, kHide);
    EXPECT_TRUE(IsMenuModeOn());
}

class APidThatIsNone : public TheFocus, public testing::WithParamInterface<int> {};

TEST_P(APidThatIsNone, IsListedButNeverAskedAfter) {
    const std::string pid = std::to_string(GetParam());
    Open(GetParam());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Add gameapp pid to list(pid=" + pid + ")"));
    EXPECT_EQ(platform.CallCount("aul_app_get_appid_bypid"), 0);
    EXPECT_EQ(platform.CallCount("aul_app_get_status"), 0);
    EXPECT_FALSE(Manager().IsFocusApp(GetParam()));
    EXPECT_EQ(platform.CallCount("aul_app_get_status"), 0);
    Signal(GetParam(), kFocus);
    EXPECT_FALSE(IsMenuModeOn());
}

INSTANTIATE_TEST_SUITE_P(OfAnyKind, APidThatIsNone, testing::Values(0, -1, INT_MIN));

TEST_F(TheFocus, AGameThatClosesLeavesTheListAndMenuModeAsItIs) {
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    News(kGamepadLibrary);
    Close(kGame);
    EXPECT_THAT(News(kGamepadLibrary),
                ElementsAre("I: Get GameApp status change callback! type[1](Open:0/Close:1), APP PID[123]",
                            "I: UnRegisterGameAppPID with pid 123", "I: Delete gameapp pid from list(pid=123)"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("UnRegisterGameAppPID"), "Delete gameapp pid from list(pid=123)"));
    EXPECT_FALSE(IsMenuModeOn());
    Signal(kOther, kFocus);
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheFocus, ClosingAnUnknownGameIsNoError) {
    Open(kGame);
    EXPECT_TRUE(Manager().UnRegisterGameAppPID(9));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("UnRegisterGameAppPID"), "UnRegisterGameAppPID with pid 9"));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Delete gameapp pid from list(pid=9)"));
    Signal(kGame, kFocus);
    EXPECT_FALSE(IsMenuModeOn());
}

TEST_F(TheFocus, TheGamesThatStayAreStillGames) {
    for (const int pid : {11, 12, 13}) {
        Open(pid);
    }
    Close(12);
    for (const int pid : {11, 13}) {
        Signal(pid, kFocus);
        EXPECT_FALSE(IsMenuModeOn()) << pid;
        Signal(12, kFocus);
        EXPECT_TRUE(IsMenuModeOn()) << pid;
    }
}

TEST_F(TheFocus, OtherKindsOfGameNoticeAreOnlyLogged) {
    platform.SendGameAppNotice(2, kGame);
    platform.SendGameAppNotice(-1, kGame);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(News(kGamepadLibrary),
                ElementsAre("I: Get GameApp status change callback! type[2](Open:0/Close:1), APP PID[123]",
                            "I: Get GameApp status change callback! type[-1](Open:0/Close:1), APP PID[123]"));
}

TEST_F(TheFocus, RegisteringSaysTrue) {
    EXPECT_TRUE(Manager().RegisterGameAppPID(kGame));
    EXPECT_TRUE(Manager().RegisterGameAppPID(kGame));
    EXPECT_TRUE(Manager().UnRegisterGameAppPID(kGame));
}

// ---- Asking for the focus

TEST_F(TheFocus, IsKnownByStatusTwoAlone) {
    for (int status = -3; status <= 7; ++status) {
        platform.SetApp(kGame, "a.game", status);
        EXPECT_EQ(Manager().IsFocusApp(kGame), status == 2) << status;
    }
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "App[a.game] with pid [123]'s status is [-3]."));
}

TEST_F(TheFocus, OfAnApplicationWithoutANameIsUnknown) {
    platform.FailAlways("aul_app_get_appid_bypid");
    EXPECT_FALSE(Manager().IsFocusApp(kGame));
    EXPECT_THAT(platform.CallTexts("aul_app_get_status"), ElementsAre("aul_app_get_status(\"\")"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "App[] with pid [123]'s status is [-1]."));
}

TEST_F(TheFocus, IsRememberedWhenItIsAskedFor) {
    platform.SetApp(kIme, kImeId, 1);
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);  // asked, and focused
    Signal(kIme, kFg);
    EXPECT_TRUE(IsMenuModeOn());
    Signal(kIme, kHide);
    EXPECT_FALSE(IsMenuModeOn());
}

// ---- Status signals

TEST_F(TheFocus, OnAListedGameStopsMenuMode) {
    Open(kGame);
    News(kAppLibrary);
    Signal(kGame, kFocus);
    EXPECT_THAT(News(kAppLibrary),
                ElementsAre("I: Process[123]'s status change to: AUL_PROC_STATUS_FOCUS[5].",
                            "I: A game app[123] on focus, so mark that", std::string("I: ") + kStops));
    EXPECT_FALSE(IsMenuModeOn());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_AppStatusChanged"),
                                "Process[123]'s status change to: AUL_PROC_STATUS_FOCUS[5]."));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_ActiveAppChanged"), "A game app[123] on focus, so mark that"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_ActiveAppChanged"), kStops));
}

TEST_F(TheFocus, OnAnotherApplicationStartsMenuMode) {
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    Signal(kOther, kFocus);
    EXPECT_THAT(News(kAppLibrary), ElementsAre("I: Process[5]'s status change to: AUL_PROC_STATUS_FOCUS[5].",
                                               std::string("I: ") + kStarts));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_ActiveAppChanged"), kStarts));
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheFocus, StartsMenuModeAlsoWhenNoGameRuns) {
    Signal(kOther, kFocus);
    EXPECT_THAT(News(kAppLibrary), ElementsAre("I: Process[5]'s status change to: AUL_PROC_STATUS_FOCUS[5].",
                                               std::string("I: ") + kStarts, "I: Menu Mode has started already!"));
}

TEST_F(TheFocus, AsksNothingOfThePlatform) {
    Open(kGame);
    const int asked = platform.CallCount("aul_app_get_status");
    const int named = platform.CallCount("aul_app_get_appid_bypid");
    Signal(kGame, kFocus);
    Signal(kOther, kFocus);
    EXPECT_EQ(platform.CallCount("aul_app_get_status"), asked);
    EXPECT_EQ(platform.CallCount("aul_app_get_appid_bypid"), named);
}

class AStatusOfNoInterest : public TheFocus, public testing::WithParamInterface<int> {};

TEST_P(AStatusOfNoInterest, IsIgnoredWithoutAMessage) {
    platform.SetApp(kIme, kImeId, 1);
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    Signal(kGame, GetParam());
    Signal(kIme, GetParam());
    Signal(kOther, GetParam());
    EXPECT_THAT(News(kAppLibrary), IsEmpty());
    EXPECT_FALSE(IsMenuModeOn());
}

INSTANTIATE_TEST_SUITE_P(OfTheSignal, AStatusOfNoInterest, testing::Values(-1, 0, 1, 2, 4, 6, 8, INT_MAX, INT_MIN));

// ---- The on-screen keyboard

class TheOnScreenKeyboard : public TheFocus {
protected:
    void SetUp() override {
        TheFocus::SetUp();
        platform.SetApp(kIme, kImeId, 1);
        platform.SetApp(kGame, "a.game", 1);
        Open(kGame);
        Signal(kGame, kFocus);
        News(kAppLibrary);
    }
};

TEST_F(TheOnScreenKeyboard, BringsMenuModeOverAFocusedGame) {
    Signal(kIme, kFg);
    EXPECT_THAT(News(kAppLibrary),
                ElementsAre("I: Process[77]'s status change to:[AUL_PROC_STATUS_FG][3]",
                            "aul_app_get_appid_bypid(77, ptr, 256)",
                            "I: Got IME AUL_PROC_STATUS_FG[3] or AUL_PROC_STATUS_HIDE[7] status:[3], pid[77]",
                            "I: IME is visible[AUL_PROC_STATUS_FG]", std::string("I: ") + kStarts));
    EXPECT_TRUE(IsMenuModeOn());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_AppStatusChanged"),
                                "Process[77]'s status change to:[AUL_PROC_STATUS_FG][3]"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_AppStatusChanged"),
                                "Got IME AUL_PROC_STATUS_FG[3] or AUL_PROC_STATUS_HIDE[7] status:[3], pid[77]"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_ActiveAppChanged"), "IME is visible[AUL_PROC_STATUS_FG]"));
}

TEST_F(TheOnScreenKeyboard, GivesTheGamepadBackToTheGameWhenItHides) {
    Signal(kIme, kFg);
    News(kAppLibrary);
    Signal(kIme, kHide);
    EXPECT_THAT(News(kAppLibrary),
                ElementsAre("I: Process[77]'s status change to:[AUL_PROC_STATUS_HIDE][7]",
                            "aul_app_get_appid_bypid(77, ptr, 256)",
                            "I: Got IME AUL_PROC_STATUS_FG[3] or AUL_PROC_STATUS_HIDE[7] status:[7], pid[77]",
                            "I: IME is hide[AUL_PROC_STATUS_HIDE], current pid is previously gameapp pid.",
                            "I: A game app[123] on focus, so mark that", std::string("I: ") + kStops));
    EXPECT_FALSE(IsMenuModeOn());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("m_ActiveAppChanged"),
                                "IME is hide[AUL_PROC_STATUS_HIDE], current pid is previously gameapp pid."));
}

TEST_F(TheOnScreenKeyboard, LeavesTheMenusToAnApplicationThatIsNoGame) {
    Signal(kOther, kFocus);
    Signal(kIme, kFg);
    Signal(kIme, kHide);
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheOnScreenKeyboard, MayComeAndGoRepeatedlyOverTheSameGame) {
    for (int i = 0; i < 3; ++i) {
        Signal(kIme, kFg);
        EXPECT_TRUE(IsMenuModeOn());
        Signal(kIme, kHide);
        EXPECT_FALSE(IsMenuModeOn());
    }
}

TEST_F(TheOnScreenKeyboard, FindsMenuModeOnWhenItsGameHasClosedMeanwhile) {
    Signal(kIme, kFg);
    Close(kGame);
    Signal(kIme, kHide);
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheOnScreenKeyboard, IsNoGameEvenWhenItsPidIsListed) {
    Open(kIme);
    Signal(kIme, kFg);
    EXPECT_TRUE(IsMenuModeOn());
}

TEST_F(TheFocus, AKeyboardThatHidesBeforeAnyFocusStartsMenuMode) {
    platform.SetApp(kIme, kImeId, 1);
    Open(kIme);
    Signal(kIme, kHide);  // nobody had the focus: pid 0 is in no list
    EXPECT_TRUE(platform.Logged(DLOG_INFO, kStarts));
    EXPECT_TRUE(IsMenuModeOn());
}

class AnotherApplication : public TheFocus, public testing::WithParamInterface<std::string> {};

TEST_P(AnotherApplication, ComingForwardOrHidingChangesNothing) {
    platform.SetApp(kOther, GetParam(), 1);
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    Signal(kOther, kFg);
    Signal(kOther, kHide);
    EXPECT_THAT(News(kAppLibrary), ElementsAre("I: Process[5]'s status change to:[AUL_PROC_STATUS_FG][3]",
                                               "aul_app_get_appid_bypid(5, ptr, 256)",
                                               "I: Process[5]'s status change to:[AUL_PROC_STATUS_HIDE][7]",
                                               "aul_app_get_appid_bypid(5, ptr, 256)"));
    EXPECT_FALSE(IsMenuModeOn());
}

INSTANTIATE_TEST_SUITE_P(OfAnyName, AnotherApplication,
                         testing::Values("org.app", "", "com.velmora.tv.keypane-app2", "com.velmora.tv.keypane-ap",
                                         "COM.velmora.tv.keypane-app", "xcom.velmora.tv.keypane-app",
                                         std::string(300, 'a')));

TEST_F(TheFocus, AnApplicationThatCannotBeNamedIsNoKeyboard) {
    platform.SetApp(kIme, kImeId, 1);
    platform.SetApp(kGame, "a.game", 2);
    Open(kGame);
    platform.FailAlways("aul_app_get_appid_bypid");
    Signal(kIme, kFg);
    EXPECT_FALSE(IsMenuModeOn());
}

// ---- Life

TEST_F(TheFocus, IsListenedToBeforeTheDispatcherStarts) {
    EXPECT_THAT(platform.Timeline(), ContainsInOrder(Texts{"aul_listen_app_status_signal(ptr, ptr)",
                                                           "VirtualKey_Initialize(\"gamepad-service\")"}));
}

TEST_F(TheFocus, IsInitialisedOnce) {
    EXPECT_TRUE(Manager().Initialize());
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, Place("Initialize"), "[GamepadContextManager] has been initialized already"));
    EXPECT_EQ(platform.CallCount("aul_listen_app_status_signal"), 1);
}

class AnAnswerToListening : public WholeProgram, public testing::WithParamInterface<int> {};

TEST_P(AnAnswerToListening, OtherThanMinusOneIsASuccess) {
    platform.AllowError("Please call");
    platform.Return("aul_listen_app_status_signal", GetParam());
    GamepadContextManager manager;
    EXPECT_TRUE(manager.Initialize());
    EXPECT_TRUE(manager.RegisterGameAppPID(kGame));
}

INSTANTIATE_TEST_SUITE_P(OfThePlatform, AnAnswerToListening, testing::Values(0, 1, -2, INT_MIN));

class AManagerAlone : public WholeProgram {
protected:
    static constexpr char kUninitialised[] = "Please call [Initialize] first";
};

TEST_F(AManagerAlone, RefusesGamesBeforeItIsInitialised) {
    platform.ExpectError(kUninitialised);
    GamepadContextManager manager;
    EXPECT_FALSE(manager.RegisterGameAppPID(kGame));
    EXPECT_FALSE(manager.UnRegisterGameAppPID(kGame));
    manager.DeInitialize();
    EXPECT_THAT(PlacesOf(platform, kUninitialised),
                ElementsAre(Place("RegisterGameAppPID"), Place("UnRegisterGameAppPID"), Place("DeInitialize")));
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, kUninitialised));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("RegisterGameAppPID"), "RegisterGameAppPID with pid 123"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place("DeInitialize"), "Enter"));
    EXPECT_EQ(platform.CallCount("aul_app_get_appid_bypid"), 0);
}

TEST_F(AManagerAlone, StaysUninitialisedWhenItCannotListen) {
    platform.ExpectError(kUninitialised);
    platform.ExpectError("Call[aul_listen_app_status_signal]err");
    platform.FailOn("aul_listen_app_status_signal", 1);
    GamepadContextManager manager;
    EXPECT_FALSE(manager.Initialize());
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, Place("Initialize"), "Call[aul_listen_app_status_signal]err"));
    EXPECT_FALSE(manager.RegisterGameAppPID(kGame));
    EXPECT_TRUE(manager.Initialize());
    EXPECT_TRUE(manager.RegisterGameAppPID(kGame));
}

TEST_F(AManagerAlone, KeepsItsListThroughDeInitialize) {
    platform.ExpectError(kUninitialised);
    GamepadContextManager manager;
    ASSERT_TRUE(manager.Initialize());
    manager.RegisterGameAppPID(kGame);
    manager.DeInitialize();
    EXPECT_THAT(platform.CallTexts("aul_listen_app_status_signal").back(), "aul_listen_app_status_signal(null, null)");
    EXPECT_FALSE(manager.RegisterGameAppPID(kGame));
    ASSERT_TRUE(manager.Initialize());
    manager.RegisterGameAppPID(kGame);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "gameapp pid already in the list. (pid=123)"));
}

TEST_F(AManagerAlone, StopsListeningWhenItDies) {
    platform.AllowError(kUninitialised);
    {
        GamepadContextManager manager;
        ASSERT_TRUE(manager.Initialize());
    }
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(AManagerAlone, MayBeUsedByManyThreadsAtOnce) {
    platform.AllowError(kUninitialised);
    GamepadContextManager manager;
    ASSERT_TRUE(manager.Initialize());
    constexpr int kThreads = 4;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&manager, thread] {
            for (int i = 0; i < 100; ++i) {
                manager.RegisterGameAppPID(100 * thread + i);
                manager.UnRegisterGameAppPID(100 * thread + i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Delete gameapp pid from list(pid=399)"), 1);
}

// ---- Locks

TEST_F(TheFocus, TheListIsLockedWhileANewGameIsAskedAfter) {
    Open(kGame);
    platform.SetApp(124, "b.game", 2);
    Door door;
    platform.OnCall("aul_app_get_status", door.CallHook());
    platform.SendGameAppNotice(GAMEAPP_OPENED, 124);
    ASSERT_TRUE(door.WaitForVisitor());
    ExpectFocusSignalToWaitFor(door);
}

TEST_F(TheFocus, TheListIsLockedUntilANewGameHasStoppedMenuMode) {
    Plug("pad");
    Open(kGame);
    platform.SetApp(124, "b.game", 2);
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.PressButton("pad", 0);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendGameAppNotice(GAMEAPP_OPENED, 124);
    ASSERT_TRUE(platform.WaitForLog("The new added gameapp (pid=124) is focus, stop menumode."));
    ExpectFocusSignalToWaitFor(door);
}

// A focus signal lets go of the list before it waits for the event that the dispatcher handles.
TEST_F(TheFocus, TheListIsFreeWhileMenuModeIsSwitched) {
    Plug("pad");
    Open(kGame);
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.PressButton("pad", 0);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendAppStatus(kGame, kFocus);
    ASSERT_TRUE(platform.WaitForLog(kStops));
    Open(9);
    Close(9);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Delete gameapp pid from list(pid=9)"));
    door.Open();
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
}

TEST_F(TheFocus, SignalsAreFollowedOnTheThreadThatBringsThem) {
    Open(kGame);
    Signal(kGame, kFocus);
    for (const LogLine& line : platform.LogLines()) {
        if (line.message == kStops) {
            EXPECT_EQ(line.thread, kAppLibrary);
        }
    }
}

TEST_F(TheFocus, ASwitchOfMenuModeKeepsTheDispatcherAlive) {
    Plug("pad");
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.PressButton("pad", 0);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendAppStatus(kOther, kFocus);
    ASSERT_TRUE(platform.WaitForLog(kStarts));
    EXPECT_FALSE(platform.WaitUntilAppStatusTold(kForAWhile));  // it waits for the event
    std::thread destroyer([] { Singleton<GamepadEventDispatcher>::DestroyInstance(); });
    EXPECT_FALSE(platform.WaitForLog("Destructor is called", 1, kForAWhile));
    door.Open();
    destroyer.join();
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Menu Mode has started already!"));
}

TEST_F(TheFocus, ASignalUnderWayAtTheShutdownIsWaitedFor) {
    platform.SetApp(kIme, kImeId, 1);
    Door door;
    platform.OnCall("aul_app_get_appid_bypid", door.CallHook());
    platform.SendAppStatus(kIme, kFg);
    ASSERT_TRUE(door.WaitForVisitor());
    process->Signal(SIGTERM);
    ASSERT_TRUE(platform.WaitForCall("aul_listen_app_status_signal", 2));
    EXPECT_EQ(process->WaitForEnd(kForAWhile), std::nullopt);
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "IME is visible[AUL_PROC_STATUS_FG]"));
}

}  // namespace
