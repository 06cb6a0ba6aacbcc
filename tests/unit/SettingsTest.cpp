#include <gmock/gmock.h>
#include <platform/dlog.h>

#include <string>
#include <tuple>

#include "CVConf.h"
#include "FakePlatform.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kPlaydeck[] = "memory/accessory/playnest_status";
constexpr char kActive[] = "memory/accessory/gamepad_active";
constexpr char kTitles[] = "memory/accessory/downloadable_runtitle";
constexpr char kScreensaver[] = "memory/window_system/screensaver_on_off";
constexpr char kEasyWakeup[] = "db/menu/connection/easy-wakeup";
constexpr char kTerms[] = "db/menu/homeview/homedatacontrol/defaultdisclaimeragree";
constexpr char kCountry[] = "db/comss/countrycode";

std::vector<int> heard;
void HearInt(keynode_t* node, void* user) {
    heard.push_back(vconf_keynode_get_int(node));
    *static_cast<int*>(user) += 1;
}
void HearBool(keynode_t* node, void* user) {
    heard.push_back(vconf_keynode_get_bool(node));
    *static_cast<int*>(user) += 1;
}

class Settings : public testing::Test {
protected:
    Settings() { heard.clear(); }

    bool SaidBy(const std::string& operation, const std::string& message) const {
        return platform.Logged(DLOG_INFO, "CVConf.cpp: " + operation, message);
    }

    FakePlatform platform;
};

TEST_F(Settings, TellThePlaydeckStatus) {
    platform.SetInt(kPlaydeck, 1000);
    int status = -7;
    EXPECT_TRUE(CVConf::GetPlaydeckStatus(status));
    EXPECT_EQ(status, 1000);
    EXPECT_TRUE(SaidBy("GetPlaydeckStatus", "Get vconf [memory/accessory/playnest_status] value [1000]"));
}

TEST_F(Settings, LeaveTheCallersValueWhenThePlaydeckStatusIsUnreadable) {
    platform.Unset(kPlaydeck);
    int status = -7;
    EXPECT_FALSE(CVConf::GetPlaydeckStatus(status));
    EXPECT_EQ(status, -7);
    EXPECT_TRUE(SaidBy("GetPlaydeckStatus", "Get vconf [memory/accessory/playnest_status] value failed."));
}

TEST_F(Settings, TellPlaydeckWatchersEachChangeUntilTheyLeave) {
    int calls = 0;
    CVConf::RegisterPlaydeckStatusCallback(HearInt, &calls);
    EXPECT_TRUE(platform.IsWatched(kPlaydeck));
    platform.SetInt(kPlaydeck, 5);
    platform.TellChanges();
    EXPECT_THAT(heard, ElementsAre(5));
    EXPECT_EQ(calls, 1);
    CVConf::UnRegisterPlaydeckStatusCallback(HearInt);
    EXPECT_FALSE(platform.IsWatched(kPlaydeck));
    platform.SetInt(kPlaydeck, 6);
    platform.TellChanges();
    EXPECT_THAT(heard, ElementsAre(5));
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(Settings, LogAPlaydeckWatchThatIsRefused) {
    int calls = 0;
    platform.FailOn("vconf_notify_key_changed");
    CVConf::RegisterPlaydeckStatusCallback(HearInt, &calls);
    EXPECT_TRUE(SaidBy("RegisterPlaydeckStatusCallback", "RegisterPlaydeckStatusCallback Err"));
}

TEST_F(Settings, TakeOnlyMinusOneForARefusedWatch) {
    int calls = 0;
    platform.Return("vconf_notify_key_changed", -2);
    CVConf::RegisterPlaydeckStatusCallback(HearInt, &calls);
    CVConf::RegisterScreenSaverStatusCallback(HearBool, &calls);
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(Settings, TellHowOftenGamepadsWereUsed) {
    platform.SetInt(kActive, -3);
    int count = 0;
    CVConf::GetGamepadActive(count);
    EXPECT_EQ(count, -3);
    EXPECT_TRUE(SaidBy("GetGamepadActive", "Get vconf [memory/accessory/gamepad_active] value [-3]"));
    platform.Unset(kActive);
    CVConf::GetGamepadActive(count);
    EXPECT_EQ(count, -3);
    EXPECT_TRUE(SaidBy("GetGamepadActive", "Get vconf [memory/accessory/gamepad_active] value failed."));
}

TEST_F(Settings, PublishHowOftenGamepadsWereUsed) {
    CVConf::SetGamepadActive(12);
    EXPECT_EQ(platform.Get(kActive), Setting(12));
    EXPECT_TRUE(SaidBy("SetGamepadActive", "Set [memory/accessory/gamepad_active] to [12] success."));
    platform.FailOn("vconf_set_int");
    CVConf::SetGamepadActive(13);
    EXPECT_EQ(platform.Get(kActive), Setting(12));
    EXPECT_TRUE(SaidBy("SetGamepadActive", "Set [memory/accessory/gamepad_active] to [13] failed."));
}

TEST_F(Settings, TellTheDownloadableTitles) {
    platform.SetStr(kTitles, "a,b");
    std::string titles = "before";
    CVConf::GetAPPConfigInfo(titles);
    EXPECT_EQ(titles, "a,b");
    EXPECT_TRUE(SaidBy("GetAPPConfigInfo", "applist info:[a,b]"));
}

TEST_F(Settings, LeaveTheCallersTitlesWhenThereAreNone) {
    platform.Unset(kTitles);
    std::string titles = "before";
    CVConf::GetAPPConfigInfo(titles);
    EXPECT_EQ(titles, "before");
    EXPECT_TRUE(SaidBy("GetAPPConfigInfo", "applist info:[before]"));
}

TEST_F(Settings, StoreTheDownloadableTitles) {
    CVConf::SetAPPConfigInfo("x;y");
    EXPECT_EQ(platform.Get(kTitles), Setting(std::string("x;y")));
    EXPECT_TRUE(SaidBy("SetAPPConfigInfo", "Set [memory/accessory/downloadable_runtitle] to [x;y] success."));
    platform.FailOn("vconf_set_str");
    CVConf::SetAPPConfigInfo("z");
    EXPECT_EQ(platform.Get(kTitles), Setting(std::string("x;y")));
    EXPECT_TRUE(SaidBy("SetAPPConfigInfo", "Set [memory/accessory/downloadable_runtitle] to [z] failed."));
}

TEST_F(Settings, TellWhetherTheScreensaverShows) {
    platform.SetBool(kScreensaver, true);
    int shows = -1;
    EXPECT_TRUE(CVConf::GetScreenSaverValue(shows));
    EXPECT_EQ(shows, 1);
    EXPECT_TRUE(SaidBy("GetScreenSaverValue", "Get vconf [memory/window_system/screensaver_on_off] value [1]"));
    platform.Unset(kScreensaver);
    EXPECT_FALSE(CVConf::GetScreenSaverValue(shows));
    EXPECT_EQ(shows, 1);
    EXPECT_TRUE(SaidBy("GetScreenSaverValue", "Get vconf [memory/window_system/screensaver_on_off] value failed."));
}

TEST_F(Settings, TellScreensaverWatchersEachChangeUntilTheyLeave) {
    int calls = 0;
    CVConf::RegisterScreenSaverStatusCallback(HearBool, &calls);
    platform.SetBool(kScreensaver, true);
    platform.TellChanges();
    EXPECT_THAT(heard, ElementsAre(1));
    CVConf::UnRegisterScreenSaverStatusCallback(HearBool);
    EXPECT_FALSE(platform.IsWatched(kScreensaver));
}

TEST_F(Settings, LogAScreensaverWatchThatIsRefused) {
    int calls = 0;
    platform.FailOn("vconf_notify_key_changed");
    CVConf::RegisterScreenSaverStatusCallback(HearBool, &calls);
    EXPECT_TRUE(SaidBy("RegisterScreenSaverStatusCallback", "RegisterGetScreenSaverCallback Err"));
}

TEST_F(Settings, AllowEasyWakeupForExactlyOne) {
    platform.SetInt(kEasyWakeup, 1);
    EXPECT_TRUE(CVConf::IsEasyWakeup());
    EXPECT_TRUE(SaidBy("IsEasyWakeup", "easy wakeup is  enabled"));
    for (const int value : {0, 2, -1}) {
        platform.ForgetLog();
        platform.SetInt(kEasyWakeup, value);
        EXPECT_FALSE(CVConf::IsEasyWakeup()) << value;
        EXPECT_TRUE(SaidBy("IsEasyWakeup", "easy wakeup is NOT enabled"));
    }
}

TEST_F(Settings, AllowNoEasyWakeupWhenItIsUnreadable) {
    platform.Unset(kEasyWakeup);
    EXPECT_FALSE(CVConf::IsEasyWakeup());
    EXPECT_TRUE(SaidBy("IsEasyWakeup", "Get vconf [db/menu/connection/easy-wakeup] value failed."));
}

TEST_F(Settings, TakeAnyValueButZeroForAcceptedTerms) {
    const std::string key = kTerms;
    for (const int value : {1, -1, 77}) {
        platform.SetInt(kTerms, value);
        EXPECT_TRUE(CVConf::IsPolicyAccpted()) << value;
        EXPECT_TRUE(SaidBy("IsPolicyAccpted",
                           "User already accept policy, vconf value is[" + key + ":" + std::to_string(value) + "]"));
    }
    platform.SetInt(kTerms, 0);
    EXPECT_FALSE(CVConf::IsPolicyAccpted());
    EXPECT_TRUE(SaidBy("IsPolicyAccpted", "User did not accept policy, vconf value is[" + key + ":0]"));
}

TEST_F(Settings, TakeUnreadableTermsForNotAccepted) {
    platform.Unset(kTerms);
    EXPECT_FALSE(CVConf::IsPolicyAccpted());
    EXPECT_TRUE(SaidBy("IsPolicyAccpted", "Get vconf [" + std::string(kTerms) + "] value failed."));
}

TEST_F(Settings, KnowChinaByItsExactCountryCode) {
    platform.SetStr(kCountry, "CN");
    EXPECT_TRUE(CVConf::IsChinaCountryCode());
    EXPECT_TRUE(SaidBy("IsChinaCountryCode", "countrycode = CN"));
    for (const char* other : {"CN ", "cn", "CNX", "C", "", "KR"}) {
        platform.SetStr(kCountry, other);
        EXPECT_FALSE(CVConf::IsChinaCountryCode()) << other;
        EXPECT_TRUE(SaidBy("IsChinaCountryCode", std::string("countrycode = ") + other));
    }
}

TEST_F(Settings, KnowNoChinaWithoutACountryCode) {
    platform.Unset(kCountry);
    EXPECT_FALSE(CVConf::IsChinaCountryCode());
    EXPECT_TRUE(SaidBy("IsChinaCountryCode", "countrycode = (null)"));
}

}  // namespace
