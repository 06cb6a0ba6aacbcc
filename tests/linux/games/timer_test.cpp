#include "gamepad/games/timer.h"

#include <gmock/gmock.h>

#include <memory>

#include "events/events_thread.h"
#include "told.h"

namespace games {
namespace {

class ATimer : public testing::Test {
protected:
    ATimer() {
        thread_.Run([this] { timer_ = std::make_unique<Timer>(thread_.Context(), [this] { OnTime(); }); });
    }
    ~ATimer() override {
        thread_.Run([this] { timer_.reset(); });
    }
    void OnTime() {
        const bool is_last = is_last_;
        if (is_last) {
            timer_.reset();
        }
        told_.Add(g_get_monotonic_time());
    }

    EventsThread thread_;
    std::unique_ptr<Timer> timer_;
    bool is_last_ = false;
    Told<gint64> told_;
};

TEST_F(ATimer, WaitsForItsTimeAndTellsOnce) {
    const gint64 start = g_get_monotonic_time();
    timer_->At(start + 30000);
    ASSERT_TRUE(told_.WaitUntil([](const auto& times) { return times.size() == 1; }));
    EXPECT_GE(told_.All()[0], start + 30000);
    timer_->At(0);
    ASSERT_TRUE(told_.WaitUntil([](const auto& times) { return times.size() >= 2; }));
    thread_.Run([] {});
    EXPECT_EQ(told_.All().size(), 2U);
}

TEST_F(ATimer, TakesTheLatestTime) {
    const gint64 start = g_get_monotonic_time();
    timer_->At(start + 3600000000);
    timer_->At(start + 1000);
    EXPECT_TRUE(told_.WaitUntil([](const auto& times) { return times.size() == 1; }));
}

TEST_F(ATimer, MayBeDestroyedInItsOwnCallback) {
    thread_.Run([this] { is_last_ = true; });
    timer_->At(0);
    EXPECT_TRUE(told_.WaitUntil([](const auto& times) { return times.size() == 1; }));
    thread_.Run([this] { EXPECT_EQ(timer_, nullptr); });
}

}  // namespace
}  // namespace games
