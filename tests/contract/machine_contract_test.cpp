// Keys, applications, power, product, directories, log.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/assert.h"
#include "platform/aul.h"
#include "platform/device_power.h"
#include "platform/dlog.h"
#include "platform/screensaver.h"
#include "platform/system_info.h"
#include "platform/tzplatform_config.h"
#include "platform/virtual_key.h"
#include "platform_under_test.h"

namespace {

constexpr std::chrono::seconds kNoWait{5};  // a machine under load may take that; a bus that does not answer takes 25

void ExpectNoWait(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    EXPECT_LT(std::chrono::steady_clock::now() - start, kNoWait);
}

void OnFourThreads(const std::function<void()>& work) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class TheMachine : public testing::Test {
protected:
    PlatformUnderTest platform_;
};

TEST_F(TheMachine, TakesKeysFromAllThreadsBetweenInitializeAndFinalize) {
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(VirtualKey_Initialize("contract"), 1);
        OnFourThreads([] { EXPECT_EQ(VirtualKey_Send_KeyCode(71, KEY_ACTION_AUTO_PRESS_RELEASE), 1); });
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS), 1);
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_RELEASE), 1);
        VirtualKey_Finalize();
    }
}

TEST_F(TheMachine, ForgivesKeysThatComeLateAndASecondEnd) {
    VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS);
    VirtualKey_Finalize();
    ASSERT_EQ(VirtualKey_Initialize("contract"), 1);
    VirtualKey_Finalize();
    VirtualKey_Send_KeyCode(36, KEY_ACTION_RELEASE);
    VirtualKey_Finalize();
}

int OnStatus(int /*pid*/, int /*status*/, void* /*data*/) {
    return 0;
}

TEST_F(TheMachine, TellsOfApplicationsUntilOneLeaves) {
    for (int i = 0; i < 3; ++i) {
        ExpectNoWait([] { EXPECT_NE(aul_listen_app_status_signal(OnStatus, nullptr), -1); });
        ExpectNoWait([] { EXPECT_NE(aul_listen_app_status_signal(nullptr, nullptr), -1); });
    }
}

TEST_F(TheMachine, KnowsNoApplicationOfAProcessThatIsNotThere) {
    char id[256] = "";
    for (const int pid : {-1, 0, 1 << 30}) {
        EXPECT_NE(aul_app_get_appid_bypid(pid, id, sizeof id), 0);
        EXPECT_STREQ(id, "");
    }
    EXPECT_NE(aul_app_get_appid_bypid(getpid(), nullptr, 256), 0);
    EXPECT_LT(aul_app_get_status("nothing.of.this.name"), 0);
    EXPECT_LT(aul_app_get_status(nullptr), 0);
}

void OnStandby(_device_poweroff_info* /*info*/, void* /*user*/) {}

TEST_F(TheMachine, EndsASubscriptionToStandbyOnce) {
    int subscribed = -1;
    ExpectNoWait([&] { subscribed = device_power_subscribe_standby_event(OnStandby, nullptr); });
    ExpectNoWait([&] { EXPECT_EQ(device_power_unsubscribe_standby_event(OnStandby) == 0, subscribed == 0); });
    EXPECT_NE(device_power_unsubscribe_standby_event(OnStandby), 0);
    EXPECT_NE(device_power_unsubscribe_standby_event(nullptr), 0);
    EXPECT_NE(device_power_subscribe_standby_event(nullptr, nullptr), 0);
}

TEST_F(TheMachine, IsSwitchedOnAndIsWokenWithoutWaiting) {
    ExpectNoWait([] {
        EXPECT_EQ(device_power_get_state(), 0);
        device_power_set_wakeup_reason(1);
        device_power_set_state(0, 1);
        EXPECT_EQ(device_power_get_state(), 0);
    });
}

TEST_F(TheMachine, ResetsTheScreensaverFromAllThreadsWithoutWaiting) {
    ExpectNoWait([] { OnFourThreads([] { EXPECT_EQ(screensaver_reset(), 0); }); });
}

TEST_F(TheMachine, LeavesTheValueOfWhatItDoesNotKnow) {
    bool flag = true;
    int number = 4711;
    EXPECT_NE(system_info_get_custom_bool("no/such/feature", &flag), 0);
    EXPECT_NE(system_info_get_custom_bool(nullptr, &flag), 0);
    EXPECT_NE(system_info_get_value_int(-1, &number), 0);
    EXPECT_NE(system_info_get_value_int(284, nullptr), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(number, 4711);
}

TEST_F(TheMachine, KeepsTheTextsOfItsDirectories) {
    for (const int id : {27, 77}) {
        const char* first = tzplatform_getenv(id);
        ASSERT_NE(first, nullptr);
        const std::string text = first;
        OnFourThreads([&] { EXPECT_EQ(tzplatform_getenv(id), first); });
        EXPECT_EQ(first, text);
        EXPECT_EQ(text[0], '/');
    }
}

TEST_F(TheMachine, LogsFromAllThreadsAndGoesOnAfterAnAssertion) {
    OnFourThreads([] {
        EXPECT_GE(__dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: %s(%d) > %s", "file", "function", 1, "text"), 0);
        EXPECT_GE(__dlog_print(LOG_ID_SYSTEM, DLOG_DEBUG, "QVXD", "%s", ""), 0);
        _ASSERT("1 == 2", "file.cpp", 3);
    });
}

}  // namespace
