#include <gmock/gmock.h>
#include <platform/dlog.h>

#include "FakePlatform.h"
#include "Utils.h"

namespace {

using testing::IsEmpty;

class Product : public testing::Test {
protected:
    FakePlatform platform;
};

TEST_F(Product, IsASmartMonitorByItsFeatureFlag) {
    EXPECT_FALSE(utils::IsSmartMonitor());
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "Utils.cpp: IsSmartMonitor", "FMS smart_monitor_feature_support value is : [0]"));
    platform.SetSmartMonitor(true);
    EXPECT_TRUE(utils::IsSmartMonitor());
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "Utils.cpp: IsSmartMonitor", "FMS smart_monitor_feature_support value is : [1]"));
}

TEST_F(Product, IsNoSmartMonitorWhenTheFlagIsUnreadable) {
    platform.SetSmartMonitor(true);
    platform.FailOn("system_info_get_custom_bool");
    EXPECT_FALSE(utils::IsSmartMonitor());
    EXPECT_TRUE(
        platform.Logged(DLOG_ERROR, "Utils.cpp: IsSmartMonitor", "FMS smart_monitor_feature_support get failed "));
    EXPECT_EQ(platform.TakeErrors().size(), 1U);
}

TEST_F(Product, IsChineseByLocalSets24And36) {
    for (const int set : {24, 36}) {
        platform.ForgetLog();
        platform.SetSystemInt(284, set);
        EXPECT_TRUE(utils::IsChinaLocalSet()) << set;
        EXPECT_TRUE(platform.Logged(DLOG_INFO, "Utils.cpp: IsChinaLocalSet", "China TV"));
    }
}

TEST_F(Product, IsNotChineseByAnyOtherLocalSet) {
    for (const int set : {-1, 0, 23, 25, 35, 37, 284}) {
        platform.SetSystemInt(284, set);
        EXPECT_FALSE(utils::IsChinaLocalSet()) << set;
    }
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(Product, IsNotChineseWhenTheLocalSetIsUnreadable) {
    platform.SetSystemInt(284, 24);
    platform.FailOn("system_info_get_value_int");
    EXPECT_FALSE(utils::IsChinaLocalSet());
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "Utils.cpp: IsChinaLocalSet", "[ERROR]system_info_get_value_int fail"));
    EXPECT_EQ(platform.TakeErrors().size(), 1U);
}

}  // namespace
