// The double's own promises: what it tells apart, records and refuses.

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <platform/assert.h>
#include <platform/dlog.h>
#include <platform/screensaver.h>
#include <platform/system_info.h>
#include <platform/tzplatform_config.h>
#include <platform/virtual_key.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "FakePlatform.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kPlaydeck[] = "memory/accessory/playnest_status";

void Say(int priority, const char* message) {
    __dlog_print(LOG_ID_MAIN, priority, "QVXD", "%s: %s(%d) > %s", "File.cpp", "Function", 7, message);
}

TEST(WithoutADouble, TheFunctionsFailQuietly) {
    int value = 5;
    Say(DLOG_ERROR, "nobody hears this");
    EXPECT_EQ(vconf_get_int(kPlaydeck, &value), -1);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(vconf_get_str("db/comss/countrycode"), nullptr);
    EXPECT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 0);
}

TEST(Calls, AreRecordedWithArgumentsAndThread) {
    FakePlatform platform;
    std::thread([] {
        pthread_setname_np(pthread_self(), "worker");
        screensaver_reset();
    }).join();
    tzplatform_getenv(27);
    EXPECT_EQ(platform.Calls("screensaver_reset").at(0).thread, "worker");
    EXPECT_THAT(platform.CallTexts("tzplatform_getenv"), ElementsAre("tzplatform_getenv(27)"));
}

TEST(Calls, StandInOneOrderWithTheLog) {
    FakePlatform platform;
    screensaver_reset();
    Say(DLOG_INFO, "between");
    tzplatform_getenv(77);
    EXPECT_THAT(platform.Timeline(), ElementsAre("screensaver_reset()", "I: between", "tzplatform_getenv(77)"));
}

TEST(Calls, CanBeReadThreadByThread) {
    FakePlatform platform;
    screensaver_reset();
    std::thread([] {
        pthread_setname_np(pthread_self(), "worker");
        tzplatform_getenv(77);
        Say(DLOG_INFO, "beside");
    }).join();
    EXPECT_THAT(platform.TimelineOf("worker"), ElementsAre("tzplatform_getenv(77)", "I: beside"));
}

TEST(Calls, FailOnTheNthCallFromNow) {
    FakePlatform platform;
    screensaver_reset();
    platform.FailOn("screensaver_reset", 2);
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_EQ(screensaver_reset(), -1);
    EXPECT_EQ(screensaver_reset(), 0);
}

TEST(Calls, ReturnWhatTheyAreTold) {
    FakePlatform platform;
    platform.Return("screensaver_reset", 42);
    EXPECT_EQ(screensaver_reset(), 42);
    EXPECT_EQ(screensaver_reset(), 42);
    platform.ForgetPlans("screensaver_reset");
    EXPECT_EQ(screensaver_reset(), 0);
}

TEST(Calls, RunTheirHookOnTheCallingThread) {
    FakePlatform platform;
    std::string seen;
    platform.OnCall("tzplatform_getenv", [&](const Call& call) { seen = call.Text(); });
    tzplatform_getenv(27);
    EXPECT_EQ(seen, "tzplatform_getenv(27)");
}

TEST(Calls, OfAFunctionThatDoesNotExistCannotBePlanned) {
    FakePlatform platform;
    EXPECT_THROW(platform.FailOn("gamepad_opne"), std::invalid_argument);
}

TEST(TheLog, IsTakenApart) {
    FakePlatform platform;
    Say(DLOG_INFO, "a (b) > c");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "File.cpp: Function", "a (b) > c"));
    EXPECT_FALSE(platform.Logged(DLOG_DEBUG, "a (b) > c"));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Other.cpp: Function", "a (b) > c"));
    EXPECT_EQ(platform.LogLines().at(0).text, "File.cpp: Function(7) > a (b) > c");
    EXPECT_EQ(platform.LogLines().at(0).format, "%s: %s(%d) > %s");
}

TEST(TheLog, WithoutThePrefixIsAViolation) {
    FakePlatform platform;
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "naked %d", 1);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("naked 1")));
}

TEST(TheVerdict, FailsATestForAnUnannouncedError) {
    EXPECT_NONFATAL_FAILURE(
        {
            FakePlatform platform;
            Say(DLOG_ERROR, "broken");
        },
        "broken");
}

TEST(TheVerdict, FailsATestForAnAnnouncedErrorThatNeverCame) {
    EXPECT_NONFATAL_FAILURE(
        {
            FakePlatform platform;
            platform.ExpectError("broken");
        },
        "never came");
}

TEST(TheVerdict, FailsATestForAnAssertion) {
    EXPECT_NONFATAL_FAILURE(
        {
            FakePlatform platform;
            _ASSERT("pCb != NULL", "folder/File.cpp", 3);
        },
        "pCb != NULL");
}

TEST(TheVerdict, FailsATestForMisuse) {
    EXPECT_NONFATAL_FAILURE(
        {
            FakePlatform platform;
            gamepad_close();
        },
        "gamepad_close without an open connection");
}

TEST(TheVerdict, LetsPassWhatWasAnnouncedOrTaken) {
    FakePlatform platform;
    platform.ExpectError("broken");
    Say(DLOG_ERROR, "it is broken");
    Say(DLOG_ERROR, "taken");
    _ASSERT("pCb != NULL", "folder/File.cpp", 3);
    EXPECT_THAT(platform.TakeErrors(), ElementsAre("taken"));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("pCb != NULL", "File.cpp")));
}

TEST(Settings, AreTyped) {
    FakePlatform platform;
    int value = 7;
    platform.SetStr(kPlaydeck, "text");
    EXPECT_EQ(vconf_get_int(kPlaydeck, &value), -1);
    EXPECT_EQ(value, 7);
    platform.SetInt(kPlaydeck, 1000);
    EXPECT_EQ(vconf_get_int(kPlaydeck, &value), 0);
    EXPECT_EQ(value, 1000);
    const std::unique_ptr<char, decltype(&free)> country(vconf_get_str("db/comss/countrycode"), free);
    EXPECT_STREQ(country.get(), "US");
}

struct Heard {
    std::vector<int> values;
    keynode_t* last = nullptr;
};
void Hear(keynode_t* node, void* user) {
    auto& heard = *static_cast<Heard*>(user);
    heard.values.push_back(vconf_keynode_get_int(node));
    heard.last = node;
}

TEST(SettingWatchers, HearEachChangeThroughTheMainContext) {
    FakePlatform platform;
    Heard heard;
    ASSERT_EQ(vconf_notify_key_changed(kPlaydeck, Hear, &heard), 0);
    platform.SetInt(kPlaydeck, 1);
    vconf_set_int(kPlaydeck, 2);
    EXPECT_THAT(heard.values, IsEmpty());
    platform.TellChanges();
    EXPECT_THAT(heard.values, ElementsAre(1, 2));
    vconf_keynode_get_int(heard.last);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("no longer")));
}

TEST(SettingWatchers, HearNothingAfterTheyLeft) {
    FakePlatform platform;
    Heard heard;
    vconf_notify_key_changed(kPlaydeck, Hear, &heard);
    platform.SetInt(kPlaydeck, 1);
    EXPECT_EQ(vconf_ignore_key_changed(kPlaydeck, Hear), 0);
    platform.TellChanges();
    EXPECT_THAT(heard.values, IsEmpty());
    EXPECT_EQ(vconf_ignore_key_changed(kPlaydeck, Hear), -1);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("left without having watched")));
}

std::vector<_gamepad_event_s> Read(int device) {
    std::vector<_gamepad_event_s> events(16);
    int count = 16;
    if (gamepad_get_events(device, events.data(), &count) != 1) {
        count = 0;
    }
    events.resize(static_cast<size_t>(count));
    return events;
}

TEST(Pads, DeliverTheirEventsInOrderAndNoMoreThanAsked) {
    FakePlatform platform;
    platform.AddPad("pad");
    int device = -1;
    ASSERT_EQ(gamepad_create_device("pad", &device), 1);
    for (int code = 0; code < 20; ++code) {
        platform.PressButton("pad", code);
    }
    const auto first = Read(device);
    const auto second = Read(device);
    ASSERT_EQ(first.size(), 16U);
    ASSERT_EQ(second.size(), 4U);
    EXPECT_EQ(second.front().code, 16);
    EXPECT_THAT(Read(device), IsEmpty());
}

TEST(Pads, TakeTheLowestFreeId) {
    FakePlatform platform;
    platform.AddPad("pad");
    int ids[3] = {-1, -1, -1};
    gamepad_create_device("pad", &ids[0]);
    gamepad_create_device("pad", &ids[1]);
    gamepad_destroy_device(ids[0]);
    gamepad_create_device("pad", &ids[2]);
    EXPECT_THAT(ids, ElementsAre(0, 1, 0));
    EXPECT_THAT(platform.Leftovers(), ElementsAre("device 0", "device 1"));
}

TEST(Pads, AreRefusedUnderAnUnknownOrClosedId) {
    FakePlatform platform;
    EXPECT_EQ(gamepad_destroy_device(3), 0);
    EXPECT_THAT(Read(4), IsEmpty());
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("device 3"), HasSubstr("device 4")));
}

void Notice(int type, _gamepad_device_info_s info, void* user);

TEST(Pads, AreNotReadableAfterTheConnectionWasClosed) {
    FakePlatform platform;
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    gamepad_close();
    gamepad_get_connected_gampad_count();
    gamepad_register_connection_callback(Notice, nullptr);
    gamepad_close();
    EXPECT_THAT(platform.TakeViolations(),
                ElementsAre(HasSubstr("after gamepad_close"), HasSubstr("without an open connection")));
}

std::atomic<int> noticeType{0};
std::string noticeUid;     // NOLINT: read after the delivery
std::string noticeThread;  // NOLINT: read after the delivery
void Notice(int type, _gamepad_device_info_s info, void* /*user*/) {
    char thread[16] = {};
    pthread_getname_np(pthread_self(), thread, sizeof thread);
    noticeUid = info.szUid;
    noticeThread = thread;
    noticeType = type;
}

TEST(Pads, AnnounceThemselvesOnTheLibrarysThread) {
    FakePlatform platform;
    gamepad_register_connection_callback(Notice, nullptr);
    platform.Connect("pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(noticeType, GAMEPAD_CONNECTED);
    EXPECT_EQ(noticeUid, "pad");
    EXPECT_EQ(noticeThread, "gamepad-lib");
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 1);
    platform.Disconnect("pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(noticeType, GAMEPAD_DISCONNECTED);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 0);
    EXPECT_EQ(gamepad_unregister_connection_callback(Notice), 1);
}

TEST(Keys, AreKeptInOrderAndPrintWell) {
    FakePlatform platform;
    VirtualKey_Initialize("test");
    VirtualKey_Send_KeyCode(113, KEY_ACTION_PRESS);
    EXPECT_THAT(platform.KeysDown(), ElementsAre(113));
    VirtualKey_Send_KeyCode(113, KEY_ACTION_RELEASE);
    VirtualKey_Send_KeyCode(71, KEY_ACTION_AUTO_PRESS_RELEASE);
    ASSERT_TRUE(platform.WaitForKeys(3));
    EXPECT_EQ(testing::PrintToString(platform.Keys()), "{ Pressed(113), Released(113), Tapped(71) }");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(113), Released(113), Tapped(71)));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    VirtualKey_Finalize();
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST(Keys, AreMisusedByDoublePressesStrayReleasesAndLateCalls) {
    FakePlatform platform;
    VirtualKey_Send_KeyCode(9, KEY_ACTION_PRESS);
    VirtualKey_Initialize("test");
    VirtualKey_Send_KeyCode(9, KEY_ACTION_PRESS);
    VirtualKey_Send_KeyCode(9, KEY_ACTION_PRESS);
    VirtualKey_Send_KeyCode(8, KEY_ACTION_RELEASE);
    VirtualKey_Send_KeyCode(8, 3);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("outside"), HasSubstr("while it is down"),
                                                       HasSubstr("while it is up"), HasSubstr("action 3")));
}

std::atomic<int> answers{0};
std::atomic<int> answerStatus{0};
void TakeAnswer(const char* /*appId*/, was_app_status_e status, const char* /*etag*/, void* /*user*/) {
    answerStatus = status;
    ++answers;
}

TEST(TheStore, AnswersSoonOrWhenToldOrNeverOrRefuses) {
    FakePlatform platform;
    answers = 0;
    const auto ask = [&](const StoreAnswer& answer) {
        platform.SetStoreAnswer(answer);
        const int result = was_request_appid_by_runtitle("title", "", TakeAnswer, nullptr);
        EXPECT_TRUE(platform.WaitUntilStoreAnswered());
        return result;
    };
    StoreAnswer answer;
    answer.status = 3;
    EXPECT_EQ(ask(answer), 0);
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(answerStatus, 3);
    answer.when = StoreAnswer::When::Never;
    EXPECT_EQ(ask(answer), 0);
    answer.when = StoreAnswer::When::WhenTold;
    EXPECT_EQ(ask(answer), 0);
    answer.refusal = 5;
    EXPECT_EQ(ask(answer), 5);
    EXPECT_EQ(answers, 1);
    platform.GiveHeldAnswers();
    EXPECT_TRUE(platform.WaitUntilStoreAnswered());
    EXPECT_EQ(answers, 2);
}

std::atomic<int> lastStatus{0};
int NoteStatus(int /*pid*/, int status, void* /*data*/) {
    lastStatus = status;
    return status == 3 ? 1 : 0;
}

TEST(Applications, AreKnownByPidAndSignalTheirStatus) {
    FakePlatform platform;
    lastStatus = 0;
    platform.SetApp(12, "game", 2);
    char id[256] = {};
    EXPECT_EQ(aul_app_get_appid_bypid(12, id, sizeof id), 0);
    EXPECT_STREQ(id, "game");
    EXPECT_EQ(aul_app_get_status("game"), 2);
    EXPECT_EQ(aul_app_get_appid_bypid(13, id, sizeof id), -1);
    aul_listen_app_status_signal(NoteStatus, nullptr);
    platform.SendAppStatus(12, 3);
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("does not return 0")));
    platform.SendAppStatus(12, 5);
    ASSERT_TRUE(platform.WaitUntilAppStatusTold());
    aul_listen_app_status_signal(nullptr, nullptr);
    EXPECT_EQ(lastStatus, 5);
    platform.SendAppStatus(12, 7);
    EXPECT_TRUE(platform.WaitUntilDelivered());
    EXPECT_EQ(lastStatus, 5);
    aul_listen_app_status_signal(nullptr, nullptr);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("without listening")));
}

std::atomic<int> standbys{0};
void NoteStandby(_device_poweroff_info* info, void* /*user*/) {
    standbys += info == nullptr ? 100 : 1;
}

TEST(Power, TellsOfStandbyAndWakesUp) {
    FakePlatform platform;
    standbys = 0;
    platform.SetPowerState(2);
    device_power_subscribe_standby_event(NoteStandby, nullptr);
    platform.SendStandby();
    ASSERT_TRUE(platform.WaitUntilStandbyTold());
    EXPECT_EQ(device_power_unsubscribe_standby_event(NoteStandby), 0);
    EXPECT_EQ(standbys, 1);
    EXPECT_EQ(device_power_get_state(), 2);
    device_power_set_state(0, 1);
    EXPECT_EQ(platform.PowerState(), 0);
    EXPECT_EQ(device_power_unsubscribe_standby_event(NoteStandby), -1);
    EXPECT_THAT(platform.TakeViolations(), ElementsAre(HasSubstr("without a subscription")));
}

TEST(TheProduct, IsATelevisionUntilToldOtherwise) {
    FakePlatform platform;
    bool smart = true;
    int set = -1;
    EXPECT_EQ(system_info_get_custom_bool("com.velmora/featureconf/product.smart_monitor_feature_support", &smart), 0);
    EXPECT_FALSE(smart);
    EXPECT_EQ(system_info_get_value_int(284, &set), 0);
    EXPECT_EQ(set, 0);
    EXPECT_EQ(system_info_get_value_int(285, &set), -1);
}

TEST(ACallUnderWay, IsWaitedForByTheDoublesEnd) {
    std::atomic<bool> returned{false};
    std::thread caller;
    {
        FakePlatform platform;
        std::atomic<bool> entered{false};
        platform.OnCall("screensaver_reset", [&](const Call&) {
            entered = true;
            platform.WaitForCall("tzplatform_getenv");
        });
        caller = std::thread([&] {
            screensaver_reset();
            returned = true;
        });
        ASSERT_TRUE(platform.WaitForCall("screensaver_reset"));
        tzplatform_getenv(27);
    }
    caller.join();
    EXPECT_TRUE(returned);
}

}  // namespace
