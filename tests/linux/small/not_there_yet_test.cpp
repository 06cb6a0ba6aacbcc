#include <gtest/gtest.h>

#include <cstring>

#include "platform/aul.h"
#include "platform/device_power.h"
#include "platform/screensaver.h"
#include "platform/system_info.h"
#include "platform/was.h"

namespace {

int OnStatus(int, int, void* data) {
    ++*static_cast<int*>(data);
    return 0;
}

void OnStandby(_device_poweroff_info*, void* data) {
    ++*static_cast<int*>(data);
}

void OnAppId(const char*, was_app_status_e, const char*, void* data) {
    ++*static_cast<int*>(data);
}

TEST(ListeningForFocus, SucceedsAndHearsNothing) {
    int calls = 0;
    EXPECT_NE(aul_listen_app_status_signal(OnStatus, &calls), -1);
    EXPECT_NE(aul_listen_app_status_signal(nullptr, nullptr), -1);
    EXPECT_EQ(calls, 0);
}

TEST(AnApplicationsId, IsUnknownAndReadsAsEmpty) {
    char id[256];
    std::memset(id, 'x', sizeof id);
    EXPECT_NE(aul_app_get_appid_bypid(1, id, sizeof id), 0);
    EXPECT_STREQ(id, "");
    EXPECT_NE(aul_app_get_appid_bypid(1, nullptr, 256), 0);
    id[0] = 'x';
    EXPECT_NE(aul_app_get_appid_bypid(1, id, 0), 0);
    EXPECT_EQ(id[0], 'x');
}

TEST(AnApplicationsStatus, IsNeverFocused) {
    EXPECT_EQ(aul_app_get_status(""), -1);
    EXPECT_EQ(aul_app_get_status("x.desktop"), -1);
    EXPECT_EQ(aul_app_get_status(nullptr), -1);
}

TEST(ResettingTheScreensaver, SucceedsWhereThereIsNone) {
    EXPECT_EQ(screensaver_reset(), 0);
}

TEST(Standby, CannotBeSubscribedTo) {
    int calls = 0;
    EXPECT_NE(device_power_subscribe_standby_event(OnStandby, &calls), 0);
    EXPECT_NE(device_power_unsubscribe_standby_event(OnStandby), 0);
    EXPECT_EQ(calls, 0);
}

TEST(TheMachine, IsSwitchedOnAndCannotBeWoken) {
    EXPECT_EQ(device_power_get_state(), 0);
    EXPECT_NE(device_power_set_wakeup_reason(1), 0);
    EXPECT_NE(device_power_set_state(0, 1), 0);
    EXPECT_EQ(device_power_get_state(), 0);
}

TEST(AStoreQuery, IsRefusedAndNotAnswered) {
    int calls = 0;
    EXPECT_NE(was_request_appid_by_runtitle("Starfall Racer", "", OnAppId, &calls), 0);
    EXPECT_EQ(calls, 0);
}

TEST(ProductInformation, IsMissingAndLeavesTheValue) {
    bool flag = true;
    EXPECT_NE(system_info_get_custom_bool("com.velmora/featureconf/product.smart_monitor_feature_support", &flag), 0);
    EXPECT_TRUE(flag);
    int value = 24;
    EXPECT_NE(system_info_get_value_int(284, &value), 0);
    EXPECT_EQ(value, 24);
}

}  // namespace
