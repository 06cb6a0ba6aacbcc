// More events than the service looks at in time.
#include <signal.h>
#include <time.h>

#include <cmath>

#include "remote_test.h"

namespace {

using Flood = RemoteTest;

// Both sticks in circles of the given radius, a frame each millisecond, as a fast wireless pad sends them.
void CircleSticks(UinputPad& pad, std::chrono::seconds duration, double radius) {
    auto next = Clock::now();
    const auto end = next + duration;
    for (int frame = 0; next < end; ++frame) {
        const double angle = frame / 20.0;
        const int across = static_cast<int>(radius * std::cos(angle));
        const int along = static_cast<int>(radius * std::sin(angle));
        pad.Send({{EV_ABS, ABS_X, across}, {EV_ABS, ABS_Y, along}, {EV_ABS, ABS_RX, along}, {EV_ABS, ABS_RY, across}});
        std::this_thread::sleep_until(next += milliseconds(1));
    }
}

void PutSticks(UinputPad& pad, int position) {
    pad.Send(
        {{EV_ABS, ABS_X, position}, {EV_ABS, ABS_Y, position}, {EV_ABS, ABS_RX, position}, {EV_ABS, ABS_RY, position}});
}

void CentreSticks(UinputPad& pad) {
    PutSticks(pad, 0);
}

TEST_F(Flood, AButtonAfterTenSecondsOfItIsDeliveredInTheNextPasses) {
    const auto pad = PlugIn();
    CircleSticks(*pad, std::chrono::seconds(10), 12000);
    const auto pressed = Clock::now();
    pad->Press(BTN_SOUTH);
    const auto keys = keys_->Read(1);
    EXPECT_EQ(keys, Pressed(KEY_ENTER));
    ASSERT_FALSE(keys.empty());
    EXPECT_LE(keys[0].time - pressed, Limit(milliseconds(200)));
    CentreSticks(*pad);
    pad->Release(BTN_SOUTH);
    ExpectKeys(Released(KEY_ENTER));
}

TEST_F(Flood, SticksPushedAllAroundEndReleased) {
    const auto pad = PlugIn();
    Clock::time_point centred;
    std::thread hands([&] {
        CircleSticks(*pad, std::chrono::seconds(3), 32000);
        // To an end that no circle reaches: a circle may stop so near the centre that the way there is no news.
        PutSticks(*pad, 32767);
        EXPECT_TRUE(service_->Prints(",3,1,32767]"));
        EXPECT_TRUE(service_->Prints(",3,4,32767]"));
        const size_t before = service_->Now();
        CentreSticks(*pad);
        centred = Clock::now();
        // Pressed earlier, the button could be among what the kernel dropped, and be answered while a key is held.
        EXPECT_TRUE(service_->Prints(",3,1,0]", before));
        EXPECT_TRUE(service_->Prints(",3,4,0]", before));
        pad->Press(BTN_EAST);
    });
    const Key last = ExpectWholeKeysBefore(KEY_ESC);
    hands.join();
    EXPECT_LE(last.time - centred, Limit(milliseconds(200)));
    pad->Release(BTN_EAST);
    ExpectKeys(Released(KEY_ESC));
}

class Overrun : public RemoteTest {
protected:
    // More frames than the kernel keeps for a reader that does not read.
    static constexpr int kFrames = 5000;

    void Stall() { service_->Signal(SIGSTOP); }
    void Resume() { service_->Signal(SIGCONT); }

    static void Overflow(UinputPad& pad) {
        for (int frame = 0; frame < kFrames; ++frame) {
            pad.Send({{EV_ABS, ABS_RX, frame % 9000}, {EV_ABS, ABS_RY, -(frame % 9000)}});
        }
    }
};

TEST_F(Overrun, AButtonReleasedMeanwhileIsReleased) {
    const auto pad = PlugIn();
    pad->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    Stall();
    Overflow(*pad);
    pad->Release(BTN_SOUTH);
    Overflow(*pad);
    Resume();
    ExpectKeys(Released(KEY_ENTER));
    ExpectNothingBefore(*pad);
}

TEST_F(Overrun, AStickThatCameBackMeanwhileIsReleased) {
    const auto pad = PlugIn();
    pad->Move(ABS_X, 32767);
    ExpectKeys(Pressed(KEY_RIGHT));
    Stall();
    Overflow(*pad);
    pad->Move(ABS_X, 0);
    Overflow(*pad);
    Resume();
    ExpectKeys(Released(KEY_RIGHT));
    ExpectNothingBefore(*pad);
}

TEST_F(Overrun, AButtonStillHeldStaysHeld) {
    const auto pad = PlugIn();
    pad->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    Stall();
    Overflow(*pad);
    const size_t before = service_->Now();
    Resume();
    EXPECT_TRUE(service_->Prints("Get a event[", before));
    EXPECT_THAT(keys_->HeldKeys(), ElementsAre(KEY_ENTER));
    pad->Release(BTN_SOUTH);
    ExpectKeys(Released(KEY_ENTER));
}

TEST_F(Overrun, UnpluggedMeanwhileIsReleased) {
    auto pad = PlugIn();
    pad->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    Stall();
    Overflow(*pad);
    pad.reset();
    Resume();
    ExpectKeys(Released(KEY_ENTER));
}

}  // namespace
