// Buttons 10 and 11: what each sends alone, and what both send when they are held together.

#include <chrono>

#include "CombineKeyHandler.h"
#include "platform/virtual_key.h"
#include "service_test.h"

namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr char kThread[] = "CombinedHandle-";
constexpr char kPressEvent[] = "CombineKeyHandler.cpp: m_HandlePressEvent";
constexpr char kReleaseEvent[] = "CombineKeyHandler.cpp: m_HandleReleaseEvent";
constexpr char kMain[] = "CombineKeyHandler.cpp: t_Main";
constexpr milliseconds kPoll{50};
constexpr int kPollsThatSend = 21;

class Combination : public ServiceTest {
protected:
    void SetUp() override { Start(); }
    /// The thread looks at the buttons that often more.
    void Poll(int times) {
        for (int i = 0; i < times; ++i) {
            ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kPoll));
        }
    }
    /// Both buttons go down, and the thread has looked at them once.
    void HoldBoth() {
        const int naps = clock.Naps(kThread);
        Press(10);
        Press(11);
        ASSERT_TRUE(clock.WaitForNap(kThread, naps + 1));
    }
};

TEST_F(Combination, Button11AloneSendsItsKeyAtThePress) {
    Press(11);
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Tapped(74)));
    EXPECT_EQ(keys[0].thread, kDispatcherThread);
    Release(11);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
}

TEST_F(Combination, Button10AloneSendsNothing) {
    Press(10);
    Release(10);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("CombineKeyHandler.cpp: m_GetVKValue", "Key<10>'s virtual key is -1")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("Send AUTO_PRESS_RELEASE"))));
}

TEST_F(Combination, ASinglePressIsToldStepByStep) {
    Press(11);
    Release(11);
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: key 11 is a combined key!", "I: KeyCode [11] is a combined key, go to handle",
                                   "I: Key<11>'s virtual key is 74", "VirtualKey_Send_KeyCode(74, 2)",
                                   "I: Send AUTO_PRESS_RELEASE of Virtual Key[74][11]", "I: key 11 is a combined key!",
                                   "I: [11] is released, [-1, -1]"}));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("CombineKeyHandler.cpp: IsCombinationKey", "key 11 is a combined key!")));
    EXPECT_THAT(platform.LogLines(), Contains(Info("GamepadRemoteController.cpp: SendRemoteControllerEvent",
                                                   "KeyCode [11] is a combined key, go to handle")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("CombineKeyHandler.cpp: m_GetVKValue", "Key<11>'s virtual key is 74")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kPressEvent, "Send AUTO_PRESS_RELEASE of Virtual Key[74][11]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kReleaseEvent, "[11] is released, [-1, -1]")));
}

TEST_F(Combination, IsRegisteredWithItsHoldTime) {
    EXPECT_THAT(platform.LogLines(), Contains(Info("CombineKeyHandler.cpp: RegisterCombinationKey",
                                                   "RegisterCombinationKey with [10, -1], [11, 74], "
                                                   "holdtime[1000ms], combined_vk[124]")));
}

TEST_F(Combination, BothHeldSendTheCombinedKeyAtThe21stLook) {
    HoldBoth();
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Poll(kPollsThatSend - 2);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Poll(1);
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Tapped(124)));
    EXPECT_EQ(keys[0].thread, kThread);
}

TEST_F(Combination, BothHeldSendTheCombinedKeyOnce) {
    HoldBoth();
    Poll(kPollsThatSend + 60);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "hold timeout, send combined vk[124]"), 1);
}

TEST_F(Combination, AHoldIsToldStepByStep) {
    HoldBoth();
    Poll(kPollsThatSend);
    EXPECT_THAT(
        platform.Timeline(),
        HasInOrder(Entries{"I: Key<10>'s virtual key is -1", "I: pair key<10, 11>'s holdtime is 1000ms, vk is 124",
                           "I: Create CombinedHandle-Thread to monitor combined key.",
                           "I: m_iKey1[10], m_iKey2[11], m_iCombinedVK[124], m_iHoldTime[1000]",
                           "VirtualKey_Send_KeyCode(124, 2)", "I: hold timeout, send combined vk[124]"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info("CombineKeyHandler.cpp: m_GetCombineInfo",
                                                   "pair key<10, 11>'s holdtime is 1000ms, vk is 124")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kPressEvent, "Create CombinedHandle-Thread to monitor combined key.")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kPressEvent, "m_iKey1[10], m_iKey2[11], m_iCombinedVK[124], m_iHoldTime[1000]")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kMain, "Enter CombinedHandle-Thread")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kMain, "hold timeout, send combined vk[124]")));
}

TEST_F(Combination, TheOtherOrderSendsButton11sKeyFirst) {
    Press(11);
    Press(10);
    ASSERT_TRUE(clock.WaitForNap(kThread));
    EXPECT_THAT(platform.LogMessages(), Contains("m_iKey1[11], m_iKey2[10], m_iCombinedVK[124], m_iHoldTime[1000]"));
    Poll(kPollsThatSend - 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74), Tapped(124)));
}

TEST_F(Combination, PressingOneAgainStartsANewHold) {
    HoldBoth();
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
    Release(11);
    Poll(1);
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Poll(kPollsThatSend - 1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Poll(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Create CombinedHandle-Thread to monitor combined key."), 1);
}

TEST_F(Combination, AReleaseBeforeTheTimeSendsNothing) {
    HoldBoth();
    Poll(kPollsThatSend - 2);
    Release(10);
    Poll(kPollsThatSend + 5);
    Release(11);
    Poll(2);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, AReleaseBeforeTheTimeStartsTheCountAnew) {
    HoldBoth();
    Poll(kPollsThatSend - 2);
    Release(10);
    Poll(1);
    Press(10);
    Poll(kPollsThatSend - 1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Poll(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, TheFreedPlaceIsFilledFirst) {
    HoldBoth();
    Release(10);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kReleaseEvent, "[10] is released, [-1, 11]")));
    platform.ForgetLog();
    Press(10);
    EXPECT_THAT(platform.LogLines(), Contains(Info("CombineKeyHandler.cpp: m_GetCombineInfo",
                                                   "pair key<11, 10>'s holdtime is 1000ms, vk is 124")));
    EXPECT_THAT(platform.LogMessages(), Contains("m_iKey1[10], m_iKey2[11], m_iCombinedVK[124], m_iHoldTime[1000]"));
    Release(11);
    EXPECT_THAT(platform.LogMessages(), Contains("[11] is released, [10, -1]"));
}

TEST_F(Combination, Button11AloneWorksAgainAfterAHold) {
    HoldBoth();
    Release(10);
    Release(11);
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
}

TEST_F(Combination, AThirdPressIsIgnored) {
    Plug("second");
    HoldBoth();
    platform.ForgetLog();
    Press(11, "second");
    Press(10, "second");
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("m_iKey1"))));
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, TheSameButtonOfASecondPadIsNoPartner) {
    Plug("second");
    Press(11);
    Press(11, "second");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("pair key"))));
    Release(11, "second");
    EXPECT_THAT(platform.LogMessages(), Contains("[11] is released, [-1, -1]"));
}

TEST_F(Combination, MayBeHeldOnTwoPads) {
    Plug("second");
    Press(10);
    Press(11, "second");
    ASSERT_TRUE(clock.WaitForNap(kThread));
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, ValuesOtherThanPressAndReleaseAreIgnored) {
    Send(1, 11, 2);
    Send(1, 11, -1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[11] is released"))));
    Press(11);
    Send(1, 11, 2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
}

TEST_F(Combination, TheTypeOfAnEventIsNotLookedAt) {
    Move(11, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    Move(11, 0);
    EXPECT_THAT(platform.LogMessages(), Contains("[11] is released, [-1, -1]"));
    Move(11, 30000);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, AReleaseWithoutAPressOnlyLogs) {
    Release(10);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kReleaseEvent, "[10] is released, [-1, -1]")));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, OtherButtonsWorkWhileItIsHeld) {
    HoldBoth();
    Press(0);
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36), Released(36)));
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, IsMeasuredWhileAnotherKeyIsHeld) {
    HoldBoth();
    Press(0);
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36), Tapped(124)));
}

TEST_F(Combination, SeesNothingInAGame) {
    EnterGame();
    Press(11);
    Press(10);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains("key 11 is a combined key!")));
}

TEST_F(Combination, StartsNoThreadBeforeAPairIsComplete) {
    Press(10);
    Release(10);
    Press(11);
    Release(11);
    EXPECT_EQ(clock.Naps(kThread), 0);
    EXPECT_THAT(platform.LogMessages(), Not(Contains("Enter CombinedHandle-Thread")));
    Stop();
    EXPECT_THAT(platform.LogMessages(), Not(Contains("Exit CombinedHandle-Thread")));
}

TEST_F(Combination, ItsThreadEndsBeforeTheKeyLibrary) {
    HoldBoth();
    Stop();
    EXPECT_THAT(platform.LogLines(), Contains(Info(kMain, "Exit CombinedHandle-Thread")));
    EXPECT_THAT(platform.Timeline(), HasInOrder(Entries{"I: [DeInitialize]enter", "I: Exit CombinedHandle-Thread",
                                                        "VirtualKey_Finalize()"}));
}

TEST_F(Combination, WithoutAThreadThePressIsDroppedAndTheNextTriesAgain) {
    for (const char* const message :
         {"pthread_create() threadname:[CombinedHandle-Thread]", "CThread not created", "CreateThread failed."}) {
        platform.ExpectError(message);
    }
    platform.AllowAsserts();  // the semaphore of the thread's end outlives the failed start
    faults::RefuseThread(1);
    Press(10);
    Press(11);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kPressEvent, "CreateThread failed.")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("m_iKey1"))));
    Release(11);
    EXPECT_THAT(platform.LogMessages(), Contains("[11] is released, [10, -1]"));
    const int naps = clock.Naps(kThread);
    Press(11);
    ASSERT_TRUE(clock.WaitForNap(kThread, naps + 1));
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, WithoutMemoryThePressIsDroppedToo) {
    for (int allocation = 1; allocation <= 2; ++allocation) {
        platform.AllowError("CreateThread failed.");
        faults::RefuseMemory(allocation);
        Press(10);
        Press(11);
        EXPECT_EQ(platform.LogCount(DLOG_ERROR, "CreateThread failed."), allocation);
        Release(11);
        Release(10);
    }
    HoldBoth();
    Poll(kPollsThatSend);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

class CombinationInRealTime : public ServiceTest {};

TEST_F(CombinationInRealTime, TheHoldTakesASecond) {
    clock.LetRun();
    Start();
    const auto start = std::chrono::steady_clock::now();
    platform.PressButton(kPad, 10);
    platform.PressButton(kPad, 11);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(1000));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

// Other pairs than the registered one, asked of the handler itself.

class AHandler : public testing::Test {
protected:
    AHandler() { VirtualKey_Initialize("test"); }
    ~AHandler() override {
        clock.LetRun();
        handler.Destroy();
        VirtualKey_Finalize();
    }
    void Press(int code) { handler.HandleKeyEvent({0, 1, code, 1}); }
    void Release(int code) { handler.HandleKeyEvent({0, 1, code, 0}); }

    FakePlatform platform;
    ServiceClock clock;
    CombineKeyHandler handler;
};

TEST_F(AHandler, SendsTheCombinedKeyAtOnceWithoutAHoldTime) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 0);
    Press(1);
    Press(2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(99)));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kPressEvent, "Hold time is 0, Generate Combined VK [99] immediately")));
    EXPECT_FALSE(handler.FlagCreate());
    Press(2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(99)));
    Release(2);
    EXPECT_THAT(platform.LogMessages(), Contains("[2] is released, [1, -1]"));
}

TEST_F(AHandler, RoundsTheHoldTimeDownToWholeLooks) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 149);
    Press(1);
    Press(2);
    ASSERT_TRUE(clock.WaitForNap(kThread));
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kPoll));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kPoll));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(99)));
}

TEST_F(AHandler, SendsAtTheFirstLookBelowOneInterval) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 49);
    Press(1);
    Press(2);
    ASSERT_TRUE(clock.WaitForNap(kThread));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(99)));
    ASSERT_TRUE(clock.AdvanceToNextNap(kThread, kPoll));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(AHandler, IgnoresTheButtonOfAnotherPair) {
    handler.RegisterCombinationKey(1, 51, 2, 52, 99, 0);
    handler.RegisterCombinationKey(3, 53, 4, 54, 98, 0);
    Press(1);
    Press(3);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(51)));
    Press(2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(99)));
    Release(1);
    Press(4);
    Press(3);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(54), Tapped(98)));
}

TEST_F(AHandler, TakesTheFirstOfTwoPairsWithTheSameButtons) {
    handler.RegisterCombinationKey(1, 51, 2, 52, 99, 0);
    handler.RegisterCombinationKey(2, 61, 1, 62, 98, 0);
    Press(2);
    Press(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(52), Tapped(99)));
}

TEST_F(AHandler, TakesTheFirstPlaceOfAPairOfOneButton) {
    handler.RegisterCombinationKey(5, 51, 5, 52, 99, 0);
    Press(5);
    Press(5);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(51), Tapped(99)));
}

TEST_F(AHandler, KnowsTheButtonsOfAllPairs) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 0);
    handler.RegisterCombinationKey(3, -1, 4, -1, 98, 0);
    for (const int code : {1, 2, 3, 4}) {
        EXPECT_TRUE(handler.IsCombinationKey(code)) << code;
    }
    platform.ForgetLog();
    for (const int code : {0, 5, -1}) {
        EXPECT_FALSE(handler.IsCombinationKey(code)) << code;
    }
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(AHandler, RemembersAnUnknownButtonWithoutAKey) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 0);
    platform.ForgetLog();
    Press(7);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
    Press(1);
    Release(7);
    EXPECT_THAT(platform.LogMessages(), ElementsAre("[7] is released, [-1, -1]"));
}

TEST_F(AHandler, IsEndedByItsDestructor) {
    {
        CombineKeyHandler other;
        other.RegisterCombinationKey(1, -1, 2, -1, 99, 1000);
        other.HandleKeyEvent({0, 1, 1, 1});
        other.HandleKeyEvent({0, 1, 2, 1});
        ASSERT_TRUE(clock.WaitForNap(kThread));
        clock.LetRun();
    }
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Exit CombinedHandle-Thread"));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(AHandler, MayBeDestroyedInTheMiddleOfAHold) {
    handler.RegisterCombinationKey(1, -1, 2, -1, 99, 1000);
    Press(1);
    Press(2);
    ASSERT_TRUE(clock.WaitForNap(kThread));
    clock.LetRun();
    handler.Destroy();
    EXPECT_FALSE(handler.FlagCreate());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

}  // namespace
