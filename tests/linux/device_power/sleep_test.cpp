#include <gmock/gmock.h>

#include "power_session.h"

namespace {

using testing::ElementsAre;

class AMachineWithLogind : public PowerSession {
protected:
    AMachineWithLogind() {
        systemBus_.Start();
        logind_ = std::make_unique<MockedLogind>();
    }

    void SubscribeAndDelay() {
        Subscribe();
        ASSERT_TRUE(DelaysSleep());
    }
    static bool DelaysSleep() {
        return WaitUntil([] { return MockedLogind::Inhibitors() == 1; });
    }
    static bool LetsSleep() {
        return WaitUntil([] { return MockedLogind::Inhibitors() == 0; });
    }

    std::unique_ptr<MockedLogind> logind_;
};

TEST_F(AMachineWithLogind, TellsOfSleepOnceWithTheStateSetBefore) {
    SubscribeAndDelay();
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_EQ(device_power_get_state(), 2);
    MockedLogind::AnnounceSleep(true);
    MockedLogind::AnnounceSleep(false);
    EXPECT_TRUE(StateBecomes(0));
    EXPECT_THAT(notes_.States(), ElementsAre(2));
}

TEST_F(AMachineWithLogind, TellsOfEachSleep) {
    SubscribeAndDelay();
    for (size_t i = 1; i <= 3; ++i) {
        MockedLogind::AnnounceSleep(true);
        ASSERT_TRUE(notes_.WaitForCalls(i));
        MockedLogind::AnnounceSleep(false);
        ASSERT_TRUE(StateBecomes(0));
    }
    EXPECT_THAT(notes_.States(), ElementsAre(2, 2, 2));
}

TEST_F(AMachineWithLogind, SleepsOnlyWhenTheNoticeWasHandled) {
    size_t inhibitorsMeanwhile = 0;
    notes_.inside = [&] { inhibitorsMeanwhile = MockedLogind::Inhibitors(); };
    SubscribeAndDelay();
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_TRUE(LetsSleep());
    EXPECT_EQ(inhibitorsMeanwhile, 1U);
    MockedLogind::AnnounceSleep(false);
    EXPECT_TRUE(DelaysSleep());
}

TEST_F(AMachineWithLogind, MaySleepAtOnceWhenNobodySubscribes) {
    SubscribeAndDelay();
    Unsubscribe();
    EXPECT_TRUE(LetsSleep());
}

TEST_F(AMachineWithLogind, IsAwakeWhenLogindGoesAndIsHeardAgainWhenItReturns) {
    SubscribeAndDelay();
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    logind_.reset();
    EXPECT_TRUE(StateBecomes(0));
    logind_ = std::make_unique<MockedLogind>();
    ASSERT_TRUE(DelaysSleep());
    MockedLogind::AnnounceSleep(true);
    EXPECT_TRUE(notes_.WaitForCalls(2));
}

TEST_F(AMachineWithLogind, IsHeardAgainAfterARestartOfTheBus) {
    SubscribeAndDelay();
    logind_.reset();
    systemBus_.Kill();
    systemBus_.Start();
    logind_ = std::make_unique<MockedLogind>();
    ASSERT_TRUE(DelaysSleep());
    MockedLogind::AnnounceSleep(true);
    EXPECT_TRUE(notes_.WaitForCalls(1));
}

TEST_F(AMachineWithLogind, IsNotWokenFromSleepByAProgram) {
    SubscribeAndDelay();
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    EXPECT_EQ(device_power_get_state(), 2);
}

}  // namespace
