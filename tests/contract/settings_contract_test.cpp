#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/vconf.h"
#include "platform_under_test.h"

namespace {

constexpr char kNumber[] = "memory/accessory/gamepad_active";
constexpr char kOther[] = "memory/accessory/playnest_status";
constexpr char kText[] = "memory/accessory/downloadable_runtitle";
constexpr char kUnset[] = "memory/contract/unset";

struct Notices {
    std::vector<int> numbers;
    std::vector<std::thread::id> threads;
};

void Note(keynode_t* node, void* user) {
    Notices& notices = *static_cast<Notices*>(user);
    notices.numbers.push_back(vconf_keynode_get_int(node));
    notices.threads.push_back(std::this_thread::get_id());
}

gboolean SetFlag(gpointer flag) {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
}

/// Runs the main loop until so many notices have come; false when they do not come in time.
bool RunUntil(const Notices& notices, size_t count) {
    bool isLate = false;
    const guint deadline =
        g_timeout_add(static_cast<guint>(std::chrono::milliseconds(kDeadline).count()), SetFlag, &isLate);
    while (notices.numbers.size() < count && !isLate) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(deadline);
    return notices.numbers.size() >= count;
}

class Settings : public testing::Test {
protected:
    PlatformUnderTest platform_;
};

TEST_F(Settings, AreReadAsTheyWereWritten) {
    int number = 0;
    for (const int written : {0, 1, -1, 2147483647, -2147483647 - 1}) {
        ASSERT_EQ(vconf_set_int(kNumber, written), 0);
        EXPECT_EQ(vconf_get_int(kNumber, &number), 0);
        EXPECT_EQ(number, written);
    }
    for (const char* const written : {"", "Starfall Racer", "é '\"\\\n"}) {
        ASSERT_EQ(vconf_set_str(kText, written), 0);
        char* text = vconf_get_str(kText);
        ASSERT_NE(text, nullptr);
        EXPECT_STREQ(text, written);
        std::free(text);
    }
}

TEST_F(Settings, ThatAreUnsetOrOfAnotherTypeCannotBeReadAndLeaveTheValue) {
    ASSERT_EQ(vconf_set_str(kText, "text"), 0);
    for (const char* const key : {kUnset, kText}) {
        int value = 4711;
        EXPECT_NE(vconf_get_int(key, &value), 0);
        EXPECT_NE(vconf_get_bool(key, &value), 0);
        EXPECT_EQ(value, 4711);
    }
    EXPECT_EQ(vconf_get_str(kUnset), nullptr);
}

TEST_F(Settings, ThatAreNullAreRefused) {
    int value = 4711;
    EXPECT_NE(vconf_get_int(nullptr, &value), 0);
    EXPECT_NE(vconf_get_bool(nullptr, &value), 0);
    EXPECT_NE(vconf_get_int(kNumber, nullptr), 0);
    EXPECT_EQ(vconf_get_str(nullptr), nullptr);
    EXPECT_NE(vconf_set_int(nullptr, 1), 0);
    EXPECT_NE(vconf_set_str(nullptr, "text"), 0);
    EXPECT_NE(vconf_set_str(kText, nullptr), 0);
    EXPECT_EQ(vconf_notify_key_changed(nullptr, Note, nullptr), -1);
    EXPECT_EQ(vconf_notify_key_changed(kNumber, nullptr, nullptr), -1);
    EXPECT_EQ(vconf_keynode_get_int(nullptr), 0);
    EXPECT_EQ(vconf_keynode_get_bool(nullptr), 0);
    EXPECT_EQ(value, 4711);
}

TEST_F(Settings, TellOfChangesThroughTheMainLoopOnly) {
    Notices notices;
    ASSERT_NE(vconf_notify_key_changed(kNumber, Note, &notices), -1);
    std::thread([] { EXPECT_EQ(vconf_set_int(kNumber, 7), 0); }).join();
    EXPECT_TRUE(notices.numbers.empty());
    ASSERT_TRUE(RunUntil(notices, 1));
    EXPECT_EQ(notices.numbers[0], 7);
    EXPECT_EQ(notices.threads[0], std::this_thread::get_id());
    EXPECT_EQ(vconf_ignore_key_changed(kNumber, Note), 0);
}

TEST_F(Settings, AreNotToldToWhoIgnoresThemAgain) {
    Notices ignored;
    Notices watched;
    ASSERT_NE(vconf_notify_key_changed(kNumber, Note, &ignored), -1);
    ASSERT_NE(vconf_notify_key_changed(kOther, Note, &watched), -1);
    ASSERT_EQ(vconf_set_int(kNumber, 1), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kNumber, Note), 0);
    ASSERT_EQ(vconf_set_int(kOther, 2), 0);
    ASSERT_TRUE(RunUntil(watched, 1));
    EXPECT_TRUE(ignored.numbers.empty());
    EXPECT_EQ(vconf_ignore_key_changed(kOther, Note), 0);
}

TEST_F(Settings, CannotBeIgnoredByWhoDoesNotWatchThem) {
    EXPECT_NE(vconf_ignore_key_changed(kNumber, Note), 0);
    EXPECT_NE(vconf_ignore_key_changed(nullptr, Note), 0);
}

TEST_F(Settings, MayBeUsedByManyThreads) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            int value = 0;
            for (int j = 0; j < 50; ++j) {
                EXPECT_EQ(vconf_set_int(kNumber, i), 0);
                EXPECT_EQ(vconf_get_int(kNumber, &value), 0);
                EXPECT_TRUE(value >= 0 && value < 4) << value;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
