// Ending a watch: from inside a callback, from other threads, in the middle of a delivery.

#include <glib.h>
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>

#include "settings_home.h"

namespace {

using ::testing::ElementsAre;

class EndingAWatch : public SettingsHome {
protected:
    // Whether a change of another watched key, made after all others, has been seen.
    bool AllSeen() {
        Changes marks;
        EXPECT_EQ(vconf_notify_key_changed(kActive, Changes::Callback, &marks), 0);
        EXPECT_EQ(vconf_set_int(kActive, ++mark_), 0);
        const bool seen = RunLoopUntil([&] { return marks.Count() > 0; });
        EXPECT_EQ(vconf_ignore_key_changed(kActive, Changes::Callback), 0);
        return seen;
    }
    int mark_ = 0;
};

void SecondCallback(keynode_t* node, void* changes) {
    Changes::Callback(node, changes);
}

TEST_F(EndingAWatch, EndsItsNotices) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    Put(kHub, "5");
    EXPECT_TRUE(AllSeen());
    EXPECT_EQ(changes.Count(), 0U);
}

TEST_F(EndingAWatch, DropsANoticeThatIsUnderWay) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    Put(kHub, "5");
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    EXPECT_TRUE(AllSeen());
    EXPECT_EQ(changes.Count(), 0U);
}

TEST_F(EndingAWatch, FailsWithoutOne) {
    Changes changes;
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), -1);
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, SecondCallback), -1);
    EXPECT_EQ(vconf_ignore_key_changed(kActive, Changes::Callback), -1);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), -1);
}

TEST_F(EndingAWatch, LeavesOtherCallbacksOfTheKey) {
    Changes first;
    Changes second;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &first), 0);
    ASSERT_EQ(vconf_notify_key_changed(kHub, SecondCallback, &second), 0);
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([&] { return first.Count() == 1 && second.Count() == 1; }));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    Put(kHub, "6");
    EXPECT_TRUE(RunLoopUntil([&] { return second.Count() == 2; }));
    EXPECT_THAT(first.Numbers(), ElementsAre(5));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, SecondCallback), 0);
}

TEST_F(EndingAWatch, LeavesTheSameCallbackOfAnotherKey) {
    Changes hub;
    Changes saver;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &hub), 0);
    ASSERT_EQ(vconf_notify_key_changed(kSaver, Changes::Callback, &saver), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    Put(kHub, "5");
    Put(kSaver, "true");
    EXPECT_TRUE(RunLoopUntil([&] { return saver.Count() == 1; }));
    EXPECT_EQ(saver.Last().flag, 1);
    EXPECT_EQ(hub.Count(), 0U);
    EXPECT_EQ(vconf_ignore_key_changed(kSaver, Changes::Callback), 0);
}

TEST_F(EndingAWatch, LeavesNoDescriptorOpen) {
    const auto count = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    Changes changes;
    EXPECT_TRUE(AllSeen());
    const auto before = count();
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
        ASSERT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
    }
    EXPECT_EQ(count(), before);
}

int callsOfFirst;
int callsOfSecond;

void EndsItself(keynode_t* /*node*/, void* /*data*/) {
    ++callsOfFirst;
    EXPECT_EQ(vconf_ignore_key_changed(kHub, EndsItself), 0);
}

TEST_F(EndingAWatch, IsSafeInItsOwnCallback) {
    callsOfFirst = 0;
    ASSERT_EQ(vconf_notify_key_changed(kHub, EndsItself, nullptr), 0);
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([] { return callsOfFirst > 0; }));
    Put(kHub, "6");
    EXPECT_TRUE(AllSeen());
    EXPECT_EQ(callsOfFirst, 1);
}

void EndsTheSecond(keynode_t* /*node*/, void* second) {
    ++callsOfFirst;
    EXPECT_EQ(vconf_ignore_key_changed(kHub, reinterpret_cast<vconf_callback_fn>(second)), 0);
}

void TheSecond(keynode_t* /*node*/, void* /*data*/) {
    ++callsOfSecond;
}

TEST_F(EndingAWatch, InAnotherCallbackOfTheSameChangeComesInTime) {
    callsOfFirst = callsOfSecond = 0;
    ASSERT_EQ(vconf_notify_key_changed(kHub, EndsTheSecond, reinterpret_cast<void*>(TheSecond)), 0);
    ASSERT_EQ(vconf_notify_key_changed(kHub, TheSecond, nullptr), 0);
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([] { return callsOfFirst > 0; }));
    EXPECT_TRUE(AllSeen());
    EXPECT_EQ(callsOfSecond, 0);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, EndsTheSecond), 0);
}

void StartsAgain(keynode_t* node, void* changes) {
    Changes::Callback(node, changes);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, StartsAgain), 0);
    EXPECT_EQ(vconf_notify_key_changed(kHub, StartsAgain, changes), 0);
}

TEST_F(EndingAWatch, AndStartingItAgainInItsCallbackWorks) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, StartsAgain, &changes), 0);
    for (const int value : {5, 6, 7}) {
        vconf_set_int(kHub, value);
        EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0 && changes.Last().number == value; }));
    }
    EXPECT_THAT(changes.Numbers(), ElementsAre(5, 6, 7));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, StartsAgain), 0);
}

void SetsAnotherKey(keynode_t* node, void* /*data*/) {
    EXPECT_EQ(vconf_set_int(kActive, vconf_keynode_get_int(node) + 1), 0);
}

TEST_F(EndingAWatch, IsNotNeededToUseTheStoreInACallback) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, SetsAnotherKey, nullptr), 0);
    ASSERT_EQ(vconf_notify_key_changed(kActive, Changes::Callback, &changes), 0);
    Put(kHub, "5");
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));
    EXPECT_THAT(changes.Numbers(), ElementsAre(6));
    EXPECT_EQ(vconf_ignore_key_changed(kHub, SetsAnotherKey), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kActive, Changes::Callback), 0);
}

struct SlowCallback {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
};

void Slow(keynode_t* /*node*/, void* data) {
    SlowCallback& slow = *static_cast<SlowCallback*>(data);
    slow.entered.set_value();
    slow.mayLeave.get_future().wait();
    slow.left = true;
}

TEST_F(EndingAWatch, OnAnotherThreadWaitsForARunningCallback) {
    SlowCallback slow;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Slow, &slow), 0);
    Put(kHub, "5");
    std::thread ender([&] {
        slow.entered.get_future().wait();
        auto ended = std::async(std::launch::async, [&] {
            EXPECT_EQ(vconf_ignore_key_changed(kHub, Slow), 0);
            EXPECT_TRUE(slow.left);
        });
        EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
        slow.mayLeave.set_value();
        ended.wait();
    });
    EXPECT_TRUE(RunLoopUntil([&] { return slow.left.load(); }));
    ender.join();
}

// A caller that holds what the callback waits for would otherwise wait for ever.
TEST_F(EndingAWatch, GivesUpWaitingForACallbackThatWaitsForTheCaller) {
    SlowCallback slow;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Slow, &slow), 0);
    Put(kHub, "5");
    std::thread ender([&] {
        slow.entered.get_future().wait();
        EXPECT_EQ(vconf_ignore_key_changed(kHub, Slow), -1);
        EXPECT_FALSE(slow.left);
        slow.mayLeave.set_value();
    });
    EXPECT_TRUE(RunLoopUntil([&] { return slow.left.load(); }));
    ender.join();
}

}  // namespace
