#include "CombineKeyHandler.h"

#include <gmock/gmock.h>
#include <platform/dlog.h>
#include <platform/virtual_key.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "FakePlatform.h"
#include "Faults.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

/// How long a test watches that something does not happen. Too short a time hides a fault; it never invents one.
constexpr milliseconds kForAWhile{50};
constexpr int kPollsOfASecond = 20;  // 1000 ms in polls of 50 ms

/// Buttons 10 and 11 as the service registers them: 11 alone is 74, both for 1000 ms are 124.
class Combination : public testing::Test {
protected:
    Combination() {
        VirtualKey_Initialize("test");
        handler.RegisterCombinationKey(10, -1, 11, 74, 124, 1000);
    }
    ~Combination() override { handler.Destroy(); }

    void Press(int button) { handler.HandleKeyEvent({0, 1, button, 1}); }
    void Release(int button) { handler.HandleKeyEvent({0, 1, button, 0}); }
    bool SaidBy(const std::string& operation, const std::string& message) const {
        return platform.Logged(DLOG_INFO, "CombineKeyHandler.cpp: " + operation, message);
    }

    FakePlatform platform;
    Faults faults;
    CombineKeyHandler handler;
};

TEST_F(Combination, IsLoggedWithItsHoldTimeBeforeItsKey) {
    EXPECT_TRUE(SaidBy("RegisterCombinationKey",
                       "RegisterCombinationKey with [10, -1], [11, 74], holdtime[1000ms], combined_vk[124]"));
}

TEST_F(Combination, KnowsItsButtonsAndNoOthers) {
    EXPECT_TRUE(handler.IsCombinationKey(10));
    EXPECT_TRUE(SaidBy("IsCombinationKey", "key 10 is a combined key!"));
    EXPECT_TRUE(handler.IsCombinationKey(11));
    EXPECT_TRUE(SaidBy("IsCombinationKey", "key 11 is a combined key!"));
    platform.ForgetLog();
    for (const int other : {0, 9, 12, -1}) {
        EXPECT_FALSE(handler.IsCombinationKey(other)) << other;
    }
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(Combination, SendsTheKeyOfAButtonPressedAloneAtOnce) {
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    EXPECT_TRUE(SaidBy("m_GetVKValue", "Key<11>'s virtual key is 74"));
    EXPECT_TRUE(SaidBy("m_HandlePressEvent", "Send AUTO_PRESS_RELEASE of Virtual Key[74][11]"));
    Release(11);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[11] is released, [-1, -1]"));
}

TEST_F(Combination, SendsNothingForAButtonWithoutAKeyOfItsOwn) {
    Press(10);
    EXPECT_TRUE(SaidBy("m_GetVKValue", "Key<10>'s virtual key is -1"));
    Release(11);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[11] is released, [10, -1]")) << "button 10 is not remembered";
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, IgnoresRepeatsAndStrangeValues) {
    platform.ForgetLog();
    for (const int value : {2, -1, 1000}) {
        handler.HandleKeyEvent({0, 1, 11, value});
    }
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, DoesNotLookAtTheEventsType) {
    handler.HandleKeyEvent({0, 3, 11, 1});
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
}

TEST_F(Combination, StartsItsThreadWithTheFirstCompletedPairAndOnce) {
    Press(10);
    EXPECT_FALSE(handler.FlagCreate());
    Press(11);
    EXPECT_TRUE(handler.FlagCreate());
    EXPECT_TRUE(SaidBy("m_HandlePressEvent", "Create CombinedHandle-Thread to monitor combined key."));
    EXPECT_TRUE(SaidBy("m_GetCombineInfo", "pair key<10, 11>'s holdtime is 1000ms, vk is 124"));
    EXPECT_TRUE(SaidBy("m_HandlePressEvent", "m_iKey1[10], m_iKey2[11], m_iCombinedVK[124], m_iHoldTime[1000]"));
    ASSERT_TRUE(platform.WaitForLog("Enter CombinedHandle-Thread"));
    EXPECT_THAT(platform.LogLines(), Contains(AllOf(Field(&LogLine::message, "Enter CombinedHandle-Thread"),
                                                    Field(&LogLine::thread, "CombinedHandle-"))));
    Release(11);
    Press(11);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Create CombinedHandle-Thread to monitor combined key."), 1);
}

TEST_F(Combination, HeldForASecondSendsItsKeyOnce) {
    Press(10);
    const auto start = steady_clock::now();
    Press(11);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_GE(steady_clock::now() - start, milliseconds(1000));
    EXPECT_EQ(platform.Keys().front().thread, "CombinedHandle-");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, EndsItsThreadAtDestroy) {
    Press(10);
    Press(11);
    handler.Destroy();
    EXPECT_FALSE(handler.FlagCreate());
    EXPECT_TRUE(SaidBy("t_Main", "Exit CombinedHandle-Thread"));
    handler.Destroy();
    EXPECT_THAT(platform.TakeAsserts(), IsEmpty());
}

TEST_F(Combination, OnceDestroyedMeasuresNoHoldAnyMore) {
    handler.Destroy();
    Press(10);
    Press(11);
    ASSERT_TRUE(platform.WaitForLog("Exit CombinedHandle-Thread"));
    EXPECT_TRUE(handler.FlagCreate());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, TakesNoEventWhileItSendsItsKey) {
    std::future<void> released;
    platform.OnCall("VirtualKey_Send_KeyCode", [&](const Call&) {
        released = std::async(std::launch::async, [this] { Release(10); });
        EXPECT_EQ(released.wait_for(kForAWhile), std::future_status::timeout);
    });
    handler.RegisterCombinationKey(20, -1, 21, -1, 203, 1);
    Press(20);
    Press(21);
    ASSERT_TRUE(platform.WaitForKeys(1));
    handler.Destroy();
    platform.OnCall("VirtualKey_Send_KeyCode", nullptr);
    released.get();
}

TEST_F(Combination, ThatDiesEndsItsThread) {
    {
        CombineKeyHandler mortal;
        mortal.RegisterCombinationKey(1, -1, 2, -1, 3, 60000);
        mortal.HandleKeyEvent({0, 1, 1, 1});
        mortal.HandleKeyEvent({0, 1, 2, 1});
        ASSERT_TRUE(mortal.FlagCreate());
    }
    EXPECT_TRUE(SaidBy("t_Main", "Exit CombinedHandle-Thread"));
}

TEST_F(Combination, IgnoresThePairWhenItsThreadCannotStart) {
    Press(10);
    faults.FailNext("pthread_create", EAGAIN);
    Press(11);
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "CombineKeyHandler.cpp: m_HandlePressEvent", "CreateThread failed."));
    EXPECT_EQ(platform.TakeErrors().size(), 3U);
    Release(12);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[12] is released, [10, -1]")) << "the partner counts as held";
    Press(11);
    EXPECT_TRUE(handler.FlagCreate()) << "the next completed pair tries again";
    platform.TakeAsserts();  // the exit semaphore of the first try
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(Combination, IgnoresThePartnerOfAnotherPair) {
    handler.RegisterCombinationKey(20, 201, 21, 202, 203, 0);
    Press(10);
    Press(20);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Release(20);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[20] is released, [10, -1]"));
}

TEST_F(Combination, TakesTheKeyOfTheFirstPlaceThatAButtonHas) {
    handler.RegisterCombinationKey(30, 301, 30, 302, 303, 0);
    handler.RegisterCombinationKey(31, 311, 30, 312, 313, 0);
    Press(30);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(301)));
}

TEST_F(Combination, IgnoresTheReleaseOfAButtonThatIsNotHeld) {
    Press(10);
    Release(11);
    Release(10);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[10] is released, [-1, -1]"));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, SendsNothingForAButtonOfNoPair) {
    Press(99);
    Release(99);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[99] is released, [-1, -1]"));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(Combination, IgnoresTheSameButtonOfASecondPad) {
    Press(11);
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    EXPECT_FALSE(handler.FlagCreate());
}

TEST_F(Combination, TakesTheFirstOfSeveralPairsOfTheSameButtons) {
    handler.RegisterCombinationKey(11, 75, 10, 76, 125, 0);
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    Press(10);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty()) << "the pair without a hold time was taken";
}

class ImmediateCombination : public Combination {
protected:
    ImmediateCombination() { handler.RegisterCombinationKey(20, 201, 21, -1, 203, 0); }
};

TEST_F(ImmediateCombination, SendsItsKeyWithThePartnersPress) {
    Press(20);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(201)));
    Press(21);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(203)));
    EXPECT_TRUE(SaidBy("m_HandlePressEvent", "Hold time is 0, Generate Combined VK [203] immediately"));
    EXPECT_FALSE(handler.FlagCreate());
}

TEST_F(ImmediateCombination, RemembersOnlyTheFirstButton) {
    Press(20);
    Press(21);
    Press(21);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(201), Tapped(203), Tapped(203)));
    Release(21);
    EXPECT_TRUE(SaidBy("m_HandleReleaseEvent", "[21] is released, [20, -1]"));
}

/// Every round of the thread that measures the hold waits for the test.
class SteppedCombination : public Combination {
protected:
    void HoldBoth(int first, int second) {
        Press(first);
        Press(second);
        ASSERT_TRUE(stepper->WaitForSleeper());
        platform.TakeKeys();
    }
    /// Ends the wait of the thread, so that it can be told to end.
    ~SteppedCombination() override { stepper.reset(); }

    std::unique_ptr<SleepStepper> stepper = std::make_unique<SleepStepper>();
};

TEST_F(SteppedCombination, PollsEvery50Milliseconds) {
    HoldBoth(10, 11);
    EXPECT_EQ(SleepStepper::LastSleepMicroseconds(), 50000U);
}

TEST_F(SteppedCombination, SendsItsKeyOnThe21stPollAndNotAgain) {
    HoldBoth(10, 11);
    ASSERT_TRUE(stepper->Step(kPollsOfASecond - 1));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty()) << "after 20 polls";
    ASSERT_TRUE(stepper->Step());
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
    EXPECT_TRUE(SaidBy("t_Main", "hold timeout, send combined vk[124]"));
    ASSERT_TRUE(stepper->Step(3 * kPollsOfASecond));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty()) << "while both stay held";
}

TEST_F(SteppedCombination, WorksInEitherOrder) {
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(74)));
    Press(10);
    EXPECT_TRUE(SaidBy("m_GetCombineInfo", "pair key<11, 10>'s holdtime is 1000ms, vk is 124"));
    ASSERT_TRUE(stepper->Step(kPollsOfASecond));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(SteppedCombination, SendsNothingWhenAButtonIsReleasedInTime) {
    HoldBoth(10, 11);
    ASSERT_TRUE(stepper->Step(kPollsOfASecond - 2));
    Release(10);
    ASSERT_TRUE(stepper->Step(2 * kPollsOfASecond));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(SteppedCombination, MeasuresEachHoldAnew) {
    HoldBoth(10, 11);
    ASSERT_TRUE(stepper->Step(kPollsOfASecond - 2));
    Release(11);
    ASSERT_TRUE(stepper->Step());
    Press(11);
    ASSERT_TRUE(stepper->Step(kPollsOfASecond));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty()) << "the first hold counted";
    ASSERT_TRUE(stepper->Step());
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(SteppedCombination, MaySendItsKeyAgainInANewHold) {
    HoldBoth(10, 11);
    ASSERT_TRUE(stepper->Step(kPollsOfASecond));
    Release(10);
    ASSERT_TRUE(stepper->Step());
    Press(10);
    EXPECT_TRUE(SaidBy("m_HandlePressEvent", "m_iKey1[10], m_iKey2[11], m_iCombinedVK[124], m_iHoldTime[1000]"))
        << "the free place of the first button is filled again";
    ASSERT_TRUE(stepper->Step(kPollsOfASecond + 1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124), Tapped(124)));
}

TEST_F(SteppedCombination, IgnoresAThirdPressWhileBothAreHeld) {
    handler.RegisterCombinationKey(20, 201, 10, -1, 203, 0);
    HoldBoth(10, 11);
    Press(20);
    Press(11);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    ASSERT_TRUE(stepper->Step(kPollsOfASecond));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(124)));
}

TEST_F(SteppedCombination, CutsHoldTimesDownToWholePolls) {
    handler.RegisterCombinationKey(20, -1, 21, -1, 203, 149);
    HoldBoth(20, 21);
    ASSERT_TRUE(stepper->Step());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    ASSERT_TRUE(stepper->Step());
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(203)));
}

TEST_F(SteppedCombination, SendsAKeyOfAHoldTimeBelowOnePollAtTheFirstPoll) {
    handler.RegisterCombinationKey(20, -1, 21, -1, 203, 49);
    Press(20);
    Press(21);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(203)));
}

}  // namespace
