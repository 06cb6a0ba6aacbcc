// Many threads and several processes on the same keys.

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <memory>

#include "settings_home.h"

namespace {

using ::testing::IsEmpty;

constexpr int kThreads = 4;

class ManyAtOnce : public SettingsHome {};

std::string Uniform(int round) {
    return std::string(static_cast<size_t>(1 + round % 3000), static_cast<char>('a' + round % 26));
}

bool IsUniform(const std::string& text) {
    return !text.empty() && text.find_first_not_of(text[0]) == std::string::npos;
}

TEST_F(ManyAtOnce, ReadersNeverSeeATornText) {
    ASSERT_EQ(vconf_set_str(kTitles, "a"), 0);
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&stop, i] {
            for (int round = i * 777; !stop; ++round) {
                EXPECT_EQ(vconf_set_str(kTitles, Uniform(round).c_str()), 0);
            }
        });
        threads.emplace_back([&] {
            while (!stop || reads <= 1000) {
                const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(kTitles), &std::free);
                torn += text != nullptr && IsUniform(text.get()) ? 0 : 1;
                ++reads;
            }
        });
    }
    const std::string program = std::string(SETTINGS_PROGRAM) + " set " + kTitles + ' ';
    const std::string loop =
        "for i in $(seq 25); do " + program + "xxxxxxxx || exit 1; " + program + "y || exit 1; done";
    EXPECT_EQ(Shell("(" + loop + ") & first=$!; (" + loop + ") && wait $first"), 0);
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(ManyAtOnce, TheLastValueIsAlwaysTold) {
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kHub, Changes::Callback, &changes), 0);
    std::vector<std::thread> writers;
    writers.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        writers.emplace_back([i] {
            for (int round = 1; round <= 300; ++round) {
                EXPECT_EQ(vconf_set_int(kHub, i * 1000 + round), 0);
            }
        });
    }
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0; }));  // changes that come at once are told as one
    for (std::thread& writer : writers) {
        writer.join();
    }
    int last = 0;
    ASSERT_EQ(vconf_get_int(kHub, &last), 0);
    EXPECT_TRUE(RunLoopUntil([&] { return changes.Last().number == last; }));
    EXPECT_LE(changes.Count(), 300U * kThreads);
    EXPECT_EQ(vconf_ignore_key_changed(kHub, Changes::Callback), 0);
}

// Each thread has a callback of its own, and its user data ends with each watch.
template <int kNumber>
void OwnCallback(keynode_t* node, void* calls) {
    *static_cast<int*>(calls) += vconf_keynode_get_bool(node);
}

void WatchAndIgnore(vconf_callback_fn callback, const std::atomic<bool>& stop) {
    while (!stop) {
        const auto calls = std::make_unique<int>(0);
        EXPECT_EQ(vconf_notify_key_changed(kHub, callback, calls.get()), 0);
        EXPECT_EQ(vconf_set_int(kHub, std::rand()), 0);
        EXPECT_EQ(vconf_ignore_key_changed(kHub, callback), 0);
    }
}

TEST_F(ManyAtOnce, WatchesComeAndGoWhileNoticesAreDelivered) {
    std::atomic<bool> stop{false};
    Changes changes;
    ASSERT_EQ(vconf_notify_key_changed(kActive, Changes::Callback, &changes), 0);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (const vconf_callback_fn callback : {OwnCallback<0>, OwnCallback<1>, OwnCallback<2>, OwnCallback<3>}) {
        threads.emplace_back(WatchAndIgnore, callback, std::cref(stop));
    }
    for (int round = 1; round <= 200; ++round) {
        EXPECT_EQ(vconf_set_int(kActive, round), 0);
        EXPECT_TRUE(RunLoopUntil([&] { return changes.Count() > 0 && changes.Last().number == round; }));
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(changes.Count(), 200U);
    EXPECT_EQ(vconf_ignore_key_changed(kActive, Changes::Callback), 0);
}

// Both sides may lose a race now and then (a directory is made again under the remover's hands); what counts is that a
// write either fails with a message or is there, and that nothing is left broken.
TEST_F(ManyAtOnce, AWriterLivesWithADirectoryThatVanishesAllTheTime) {
    std::atomic<bool> stop{false};
    std::thread remover([&] {
        while (!stop) {
            Shell("rm -rf " + Runtime() + "/quorvex 2> /dev/null");
        }
    });
    int written = 0;
    for (int round = 0; round < 1000; ++round) {
        written += vconf_set_int(kHub, round) == 0 ? 1 : 0;
    }
    stop = true;
    remover.join();
    EXPECT_GT(written, 0);
    EXPECT_EQ(vconf_set_int(kHub, 5), 0);
    EXPECT_EQ(Contents(kHub), "int32 5\n");
}

}  // namespace
