// More events than the service looks at in time.
#include <signal.h>

#include "floods.h"
#include "remote_test.h"

namespace {

using Flood = RemoteTest;

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
    void Stall() { service_->Signal(SIGSTOP); }
    void Resume() { service_->Signal(SIGCONT); }
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
