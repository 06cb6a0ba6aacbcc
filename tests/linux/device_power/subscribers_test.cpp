#include <gmock/gmock.h>

#include <unistd.h>
#include <cstdlib>

#include "power_session.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void Other(_device_poweroff_info* /*info*/, void* count) {
    ++*static_cast<int*>(count);
}

class Subscribers : public PowerSession {
protected:
    void SetUp() override {
        systemBus_.Start();
        logind_ = std::make_unique<MockedLogind>();
    }
    static bool IsHeard() {
        return WaitUntil([] { return MockedLogind::Inhibitors() == 1; });
    }
    std::unique_ptr<MockedLogind> logind_;
};

TEST_F(Subscribers, AreRefusedWithoutACallbackAndTheSecondTime) {
    EXPECT_NE(device_power_subscribe_standby_event(nullptr, nullptr), 0);
    Subscribe();
    EXPECT_NE(device_power_subscribe_standby_event(StandbyNotes::Callback, &notes_), 0);
    Unsubscribe();
    EXPECT_NE(device_power_unsubscribe_standby_event(StandbyNotes::Callback), 0);
}

TEST_F(Subscribers, MayUnsubscribeInsideTheNotice) {
    notes_.inside = [] { Unsubscribe(); };
    Subscribe();
    ASSERT_TRUE(IsHeard());
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_TRUE(WaitUntil([] { return MockedLogind::Inhibitors() == 0; }));
}

TEST_F(Subscribers, AreEachTold) {
    int others = 0;
    ASSERT_EQ(device_power_subscribe_standby_event(Other, &others), 0);
    Subscribe();
    ASSERT_TRUE(IsHeard());
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_EQ(device_power_unsubscribe_standby_event(Other), 0);
    EXPECT_EQ(others, 1);
    MockedLogind::AnnounceSleep(false);
    ASSERT_TRUE(StateBecomes(0));
    MockedLogind::AnnounceSleep(true);
    ASSERT_TRUE(notes_.WaitForCalls(2));
    EXPECT_EQ(others, 1);
}

TEST_F(Subscribers, AreNotToldAfterUnsubscribing) {
    for (int i = 0; i < 20; ++i) {
        Subscribe();
        Unsubscribe();
    }
    MockedLogind::AnnounceSleep(true);
    EXPECT_EQ(MockedLogind::Inhibitors(), 0U);
    EXPECT_THAT(notes_.States(), IsEmpty());
}

TEST_F(PowerSession, WithoutABusWaitsForOne) {
    Subscribe();
    EXPECT_EQ(device_power_get_state(), 0);
    systemBus_.Start();
    const MockedLogind logind;
    ASSERT_TRUE(WaitUntil([] { return MockedLogind::Inhibitors() == 1; }));
    MockedLogind::AnnounceSleep(true);
    EXPECT_TRUE(notes_.WaitForCalls(1));
    Unsubscribe();
}

// logind keeps that folder while it runs.
TEST_F(PowerSession, RefusesSubscribersExactlyWhereNothingCouldTell) {
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const bool hasLogind = access("/run/systemd/seats", F_OK) == 0;
    EXPECT_EQ(device_power_subscribe_standby_event(StandbyNotes::Callback, &notes_) == 0, hasLogind);
}

TEST_F(PowerSession, CannotBePutToStandbyNorBeWokenUnasked) {
    EXPECT_NE(device_power_set_state(2, 1), 0);
    EXPECT_NE(device_power_set_state(0, 1), 0);
}

}  // namespace
