// What the platform tells by itself: the focus, games, standby, the screensaver.

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include "platform/aul.h"
#include "platform/device_power.h"
#include "platform/gamepad.h"
#include "platform/vconf.h"
#include "platform_under_test.h"

namespace {

constexpr int kFocus = 5;

/// Who is told. `inside` runs on the thread that tells.
struct Told {
    Counter times;
    std::function<void()> inside = [] {};
};

void Tell(void* told) {
    static_cast<Told*>(told)->inside();
    static_cast<Told*>(told)->times.Add();
}

int OnStatus(int pid, int status, void* told) {
    if (status == kFocus && pid > 0) {
        Tell(told);
    }
    return 0;
}
void OnStandby(_device_poweroff_info* /*info*/, void* told) {
    Tell(told);
}
void OnGame(int type, int pid, void* told) {
    if (type == GAMEAPP_OPENED && pid > 0) {
        Tell(told);
    }
}

/// One kind of notice.
struct Kind {
    const char* name;
    void (*listen)(Told& told);
    void (*leave)();
    void (PlatformUnderTest::*cause)();
};

const Kind kKinds[] = {
    {"Focus", [](Told& told) { EXPECT_NE(aul_listen_app_status_signal(OnStatus, &told), -1); },
     [] { EXPECT_NE(aul_listen_app_status_signal(nullptr, nullptr), -1); }, &PlatformUnderTest::OpenGame},
    {"Standby", [](Told& told) { EXPECT_EQ(device_power_subscribe_standby_event(OnStandby, &told), 0); },
     [] { EXPECT_EQ(device_power_unsubscribe_standby_event(OnStandby), 0); }, &PlatformUnderTest::EnterStandby},
    {"Games", [](Told& told) { EXPECT_EQ(gamepad_register_gameapp_status_callback(OnGame, &told), 1); },
     [] { EXPECT_EQ(gamepad_unregister_gameapp_status_callback(OnGame), 1); }, &PlatformUnderTest::OpenGame},
};

class Notices : public testing::TestWithParam<Kind> {
protected:
    Notices() {
        platform_.StartSession();
        EXPECT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1);
    }
    ~Notices() override { gamepad_close(); }
    void Cause() { (platform_.*GetParam().cause)(); }

    PlatformUnderTest platform_;
    Told told_;
};

TEST_P(Notices, ComeOnAnotherThread) {
    std::thread::id thread;
    told_.inside = [&] { thread = std::this_thread::get_id(); };
    GetParam().listen(told_);
    Cause();
    EXPECT_TRUE(told_.times.WaitFor(1));
    GetParam().leave();
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_P(Notices, DoNotComeToWhoHasLeft) {
    GetParam().listen(told_);
    Cause();
    ASSERT_TRUE(told_.times.WaitFor(1));
    GetParam().leave();
    const int before = told_.times.Count();
    Told other;
    GetParam().listen(other);
    Cause();
    EXPECT_TRUE(other.times.WaitFor(1));
    GetParam().leave();
    EXPECT_EQ(told_.times.Count(), before);
}

TEST_P(Notices, AreToldToTheEndBeforeWhoLeavesGoesOn) {
    Counter entered;
    std::atomic<bool> isDone{false};
    told_.inside = [&] {
        entered.Add();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        isDone = true;
    };
    GetParam().listen(told_);
    Cause();
    ASSERT_TRUE(entered.WaitFor(1));
    GetParam().leave();
    EXPECT_TRUE(isDone);
}

TEST_P(Notices, MayBeLeftWhileOneIsTold) {
    told_.inside = [] { GetParam().leave(); };
    GetParam().listen(told_);
    Cause();
    EXPECT_TRUE(told_.times.WaitFor(1));
}

INSTANTIATE_TEST_SUITE_P(Of, Notices, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

class TheSession : public testing::Test {
protected:
    TheSession() { platform_.StartSession(); }
    PlatformUnderTest platform_;
};

TEST_F(TheSession, HasAListOfItsGamesThatTheCallerFrees) {
    ASSERT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1);
    Told told;
    ASSERT_EQ(gamepad_register_gameapp_status_callback(OnGame, &told), 1);
    platform_.OpenGame();
    ASSERT_TRUE(told.times.WaitFor(1));
    char* text = nullptr;
    ASSERT_EQ(gamepad_get_all_gameapp_info_list(&text), 1);
    ASSERT_NE(text, nullptr);
    EXPECT_GT(std::atoi(text), 0) << text;
    std::free(text);
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(OnGame), 1);
    gamepad_close();
}

constexpr char kScreensaver[] = "memory/window_system/screensaver_on_off";

struct Screensaver {
    bool isOn = false;
    int notices = 0;
    std::thread::id thread;
};

void OnScreensaver(keynode_t* node, void* user) {
    auto& screensaver = *static_cast<Screensaver*>(user);
    screensaver.isOn = vconf_keynode_get_bool(node) != 0;
    screensaver.thread = std::this_thread::get_id();
    ++screensaver.notices;
}

gboolean SetFlag(gpointer flag) {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
}

bool RunUntilOn(const Screensaver& screensaver) {
    bool isLate = false;
    const guint deadline =
        g_timeout_add(static_cast<guint>(std::chrono::milliseconds(kDeadline).count()), SetFlag, &isLate);
    while (!screensaver.isOn && !isLate) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(deadline);
    return screensaver.isOn;
}

TEST_F(TheSession, TellsOfItsScreensaverThroughTheMainLoopUntilItIsIgnored) {
    Screensaver screensaver;
    ASSERT_NE(vconf_notify_key_changed(kScreensaver, OnScreensaver, &screensaver), -1);
    platform_.ShowScreensaver();
    EXPECT_EQ(screensaver.notices, 0);
    EXPECT_TRUE(RunUntilOn(screensaver));
    EXPECT_EQ(screensaver.thread, std::this_thread::get_id());
    EXPECT_EQ(vconf_ignore_key_changed(kScreensaver, OnScreensaver), 0);
    const int before = screensaver.notices;
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    EXPECT_EQ(screensaver.notices, before);
}

}  // namespace
