#include "gamepad/event_queue.h"

#include <gmock/gmock.h>
#include <linux/input-event-codes.h>

#include <algorithm>
#include <map>
#include <random>
#include <utility>
#include <vector>

using gamepad::AxisRole;
using gamepad::EventQueue;
using gamepad::Zone;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr int kEnd = 32767;

Zone ZoneOf(int position) {
    if (position > kEnd / 2) {
        return Zone::High;
    }
    return position < -kEnd / 2 ? Zone::Low : Zone::Middle;
}

bool IsStick(int axis) {
    return axis == ABS_X || axis == ABS_Y || axis == ABS_RX || axis == ABS_RY;
}

class AQueue : public testing::Test {
protected:
    void Button(int number, int value) { queue_.PushStep({++time_, EV_KEY, number, value}); }
    void Hat(int value) { queue_.PushStep({++time_, EV_ABS, ABS_HAT0X, value}); }
    void Move(int axis, int position) {
        queue_.PushPosition({++time_, EV_ABS, axis, position}, ZoneOf(position),
                            IsStick(axis) ? AxisRole::Stick : AxisRole::Other);
    }

    /// One pass of the service: code and value of each event.
    std::vector<std::pair<int, int>> Take(int capacity = EventQueue::kBatch) {
        std::vector<_gamepad_event_s> events(static_cast<std::size_t>(capacity));
        const int count = queue_.Take(events.data(), capacity);
        std::vector<std::pair<int, int>> taken;
        for (int i = 0; i < count; ++i) {
            const _gamepad_event_s& event = events[static_cast<std::size_t>(i)];
            const std::uint64_t time = event.time;  // of a packed structure: no reference to it
            EXPECT_GT(time, last_time_) << "out of order";
            last_time_ = time;
            taken.emplace_back(event.code, event.value);
        }
        return taken;
    }

    std::vector<std::pair<int, int>> TakeAll() {
        std::vector<std::pair<int, int>> all;
        for (auto taken = Take(); !taken.empty(); taken = Take()) {
            all.insert(all.end(), taken.begin(), taken.end());
        }
        return all;
    }

    /// So many seconds of both sticks going round at 1000 Hz.
    void Flood(int seconds) {
        std::mt19937 random(1);
        std::uniform_int_distribution<int> position(-kEnd, kEnd);
        for (int i = 0; i < seconds * 1000; ++i) {
            for (const int axis : {ABS_X, ABS_Y, ABS_RX, ABS_RY}) {
                Move(axis, position(random));
            }
        }
    }

    EventQueue queue_;
    std::uint64_t time_ = 0;
    std::uint64_t last_time_ = 0;
};

TEST_F(AQueue, IsEmptyAtFirst) {
    EXPECT_EQ(queue_.Size(), 0);
    EXPECT_THAT(Take(), IsEmpty());
}

TEST_F(AQueue, KeepsEveryStepInOrder) {
    Button(0, 1);
    Hat(-1);
    Hat(0);
    Button(0, 0);
    EXPECT_THAT(Take(), ElementsAre(Pair(0, 1), Pair(16, -1), Pair(16, 0), Pair(0, 0)));
}

TEST_F(AQueue, GivesNoMoreThanAskedFor) {
    Button(0, 1);
    Button(0, 0);
    EXPECT_THAT(Take(1), ElementsAre(Pair(0, 1)));
    EXPECT_THAT(Take(0), IsEmpty());
    EXPECT_THAT(Take(1), ElementsAre(Pair(0, 0)));
}

TEST_F(AQueue, MergesPositionsIntoTheLast) {
    Move(ABS_X, 100);
    Move(ABS_X, 200);
    Move(ABS_X, 300);
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_X, 300)));
}

TEST_F(AQueue, ShowsAFlickThatIsOverAlready) {
    Move(ABS_X, 10000);
    Move(ABS_X, 20000);
    Move(ABS_X, 32767);
    Move(ABS_X, 20000);
    Move(ABS_X, 0);
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_X, 10000), Pair(ABS_X, 20000), Pair(ABS_X, 0)));
}

TEST_F(AQueue, ShowsThatTheStickCameBackBeforeItWentToTheOtherSide) {
    Move(ABS_X, 20000);
    Take();
    Move(ABS_X, 0);
    Move(ABS_X, -20000);
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_X, 0), Pair(ABS_X, -20000)));
}

TEST_F(AQueue, ShowsFlicksToBothSidesAndTheWayBetween) {
    for (const int position : {20000, 30000, 5000, 0, -20000, -30000, -5000, 0}) {
        Move(ABS_Y, position);
    }
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_Y, 20000), Pair(ABS_Y, 0), Pair(ABS_Y, -20000), Pair(ABS_Y, 0)));
}

TEST_F(AQueue, DoesNotMergePositionsAcrossAButton) {
    Move(ABS_X, 100);
    Button(0, 1);
    Move(ABS_X, 200);
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_X, 100), Pair(0, 1), Pair(ABS_X, 200)));
}

TEST_F(AQueue, KeepsTheFirstPushOfEachSegment) {
    Move(ABS_X, 20000);
    Move(ABS_X, 21000);
    Button(0, 1);
    Move(ABS_X, 22000);
    Move(ABS_X, 0);
    EXPECT_THAT(Take(),
                ElementsAre(Pair(ABS_X, 20000), Pair(ABS_X, 21000), Pair(0, 1), Pair(ABS_X, 22000), Pair(ABS_X, 0)));
}

TEST_F(AQueue, KeepsAxesApart) {
    Move(ABS_X, 20000);
    Move(ABS_Y, -20000);
    Move(ABS_X, 0);
    Move(ABS_Y, 0);
    EXPECT_THAT(Take(), ElementsAre(Pair(ABS_X, 20000), Pair(ABS_Y, -20000), Pair(ABS_X, 0), Pair(ABS_Y, 0)));
}

TEST_F(AQueue, DeliversAButtonInTheNextPassAfterTenSecondsOfFlood) {
    Flood(10);
    Button(0, 1);
    EXPECT_THAT(Take(), testing::Contains(Pair(0, 1)));
}

TEST_F(AQueue, DeliversAButtonInTheNextPassAlsoWhenTheTriggersMove) {
    Flood(1);
    for (const int axis : {ABS_Z, ABS_RZ}) {
        for (const int position : {30000, 0, -30000, 0, 30000, 1000}) {
            Move(axis, position);
        }
    }
    Button(0, 1);
    const auto taken = Take();
    EXPECT_THAT(taken, testing::Contains(Pair(0, 1)));
    EXPECT_THAT(taken, testing::Contains(Pair(ABS_Z, 1000)));
    EXPECT_THAT(taken, testing::Contains(Pair(ABS_RZ, 1000)));
}

TEST_F(AQueue, KeepsATriggersPushThatIsItsLastPosition) {
    Flood(1);
    Move(ABS_Z, 30000);
    Move(ABS_RZ, 30000);
    Button(0, 1);
    const auto taken = TakeAll();
    EXPECT_THAT(taken, testing::Contains(Pair(ABS_Z, 30000)));
    EXPECT_THAT(taken, testing::Contains(Pair(ABS_RZ, 30000)));
}

TEST_F(AQueue, KeepsAHundredPressesThatNobodyTook) {
    for (int i = 0; i < 100; ++i) {
        Button(0, 1);
        Button(0, 0);
    }
    EXPECT_EQ(TakeAll().size(), 200U);
}

TEST_F(AQueue, StaysShortWhenButtonsAndSticksMoveAtOnce) {
    for (int i = 0; i < 100; ++i) {
        Flood(1);
        Button(0, i % 2 == 0 ? 1 : 0);
    }
    EXPECT_LE(queue_.Size(), 100 + EventQueue::kMostMerged);
}

TEST_F(AQueue, LosesNoButtonToTheSticks) {
    constexpr int kButton = 6;  // a number that is no stick's axis
    for (int i = 0; i < 100; ++i) {
        Flood(1);
        Button(kButton, i % 2 == 0 ? 1 : 0);
    }
    const auto all = TakeAll();
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const auto& event) { return event.first == kButton; }), 100);
}

/// The state that a reader ends up with.
std::map<int, int> StateAfter(const std::vector<std::pair<int, int>>& events) {
    std::map<int, int> state;
    for (const auto& [code, value] : events) {
        state[code] = value;
    }
    return state;
}

TEST_F(AQueue, EndsInTheRightStateHoweverHardButtonsAreHammered) {
    std::mt19937 random(7);
    std::map<int, int> state;
    for (int i = 0; i < 20000; ++i) {
        const int button = 6 + static_cast<int>(random() % 9);  // numbers that are no axis codes here
        state[button] = 1 - state[button];
        Button(button, state[button]);
        if (i % 7 == 0) {
            state[ABS_HAT0X] = static_cast<int>(random() % 3) - 1;
            Hat(state[ABS_HAT0X]);
        }
        if (i % 3 == 0) {
            state[ABS_X] = static_cast<int>(random() % 60000) - 30000;
            Move(ABS_X, state[ABS_X]);
        }
        ASSERT_LE(queue_.Size(), EventQueue::kCapacity);
    }
    auto seen = StateAfter(TakeAll());
    EXPECT_EQ(seen, state);
}

TEST_F(AQueue, StillAlternatesPressesAndReleasesAfterMergingThem) {
    for (int i = 0; i < 5000; ++i) {
        Button(3, 1 - i % 2);
        Button(5, 1 - i % 2);
    }
    std::map<int, int> state{{3, 0}, {5, 0}};
    for (const auto& [button, value] : TakeAll()) {
        EXPECT_NE(state[button], value) << "button " << button << " twice the same";
        state[button] = value;
    }
}

TEST_F(AQueue, SurvivesMoreControlsThanItHasPlaces) {
    for (int number = 0; number < 3 * EventQueue::kCapacity; ++number) {
        Button(number, 1);
    }
    EXPECT_EQ(queue_.Size(), EventQueue::kCapacity);
    EXPECT_EQ(TakeAll().back().first, 3 * EventQueue::kCapacity - 1);
}

}  // namespace
