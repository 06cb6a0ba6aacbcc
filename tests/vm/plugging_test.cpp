// Pads that come and go.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <fstream>

#include "remote_test.h"

namespace {

using Plugging = RemoteTest;

TEST_F(Plugging, UnpluggingReleasesTheHeldKeyWithin200ms) {
    auto pad = PlugIn();
    pad->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    const auto unplugged = Clock::now();
    pad.reset();
    const auto keys = keys_->Read(1);
    EXPECT_EQ(keys, Released(KEY_ENTER));
    ASSERT_FALSE(keys.empty());
    EXPECT_LE(keys[0].time - unplugged, Limit(milliseconds(200)));
}

TEST_F(Plugging, UnpluggingReleasesTheKeyOfAStickWithin200ms) {
    auto pad = PlugIn();
    pad->Move(ABS_Y, -32768);
    ExpectKeys(Pressed(KEY_UP));
    const auto unplugged = Clock::now();
    pad.reset();
    const auto keys = keys_->Read(1);
    EXPECT_EQ(keys, Released(KEY_UP));
    ASSERT_FALSE(keys.empty());
    EXPECT_LE(keys[0].time - unplugged, Limit(milliseconds(200)));
}

TEST_F(Plugging, APadThatReturnsIsServedAgain) {
    for (int time = 0; time < 3; ++time) {
        const auto pad = PlugIn();
        ExpectNothingBefore(*pad);
    }
}

TEST_F(Plugging, APadThatReturnsHasTheIdentityThatItHad) {
    const std::string notice = "device connection change callback! type[11]";
    std::vector<std::string> notices;
    for (int time = 0; time < 2; ++time) {
        const size_t before = service_->Now();
        const auto pad = PlugIn();
        const std::string line = service_->Line(notice, before);
        notices.push_back(line.substr(line.find("uid[")));
    }
    EXPECT_THAT(notices[0], HasSubstr("045e:028e"));
    EXPECT_EQ(notices[0], notices[1]);
}

TEST_F(Plugging, IdenticalPadsAreToldApart) {
    auto first = PlugIn();
    const auto second = PlugIn();
    first->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    first.reset();
    ExpectKeys(Released(KEY_ENTER));
    ExpectNothingBefore(*second);
}

TEST_F(Plugging, FivePadsAreServedAtOnce) {
    std::vector<std::unique_ptr<UinputPad>> pads;
    for (int number = 0; number < 5; ++number) {
        pads.push_back(PlugIn());
    }
    for (const auto& pad : pads) {
        ExpectNothingBefore(*pad);
    }
}

TEST_F(Plugging, TwoHundredTimesLeaksNothing) {
    constexpr size_t kPads = 200;
    const auto cycle = [this](bool held) {
        auto pad = PlugIn();
        pad->Press(BTN_SOUTH);
        ExpectKeys(Pressed(KEY_ENTER));
        if (!held) {
            pad->Release(BTN_SOUTH);
            ExpectKeys(Released(KEY_ENTER));
        }
        const size_t before = service_->Now();
        pad.reset();
        ASSERT_TRUE(service_->Prints("type[12]", before));
        if (held) {
            ExpectKeys(Released(KEY_ENTER));
        }
    };
    cycle(false);
    const auto files = service_->OpenFiles().size();
    const auto threads = service_->Threads();
    for (size_t pad = 0; pad < kPads && !HasFailure(); ++pad) {
        cycle(pad % 2 == 0);
    }
    // What the first pad needed may not all have been closed by then.
    EXPECT_TRUE(Until([&] { return service_->OpenFiles().size() <= files; }, kPatience))
        << "open: " << testing::PrintToString(service_->OpenFiles());
    EXPECT_EQ(service_->Threads(), threads);
    EXPECT_THAT(keys_->HeldKeys(), IsEmpty());
}

TEST_F(Plugging, APadIsNeverGrabbed) {
    const auto pad = PlugIn();
    const int game = open(pad->Node().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(game, 0);
    ExpectNothingBefore(*pad);
    input_event events[8];
    const ssize_t length = read(game, events, sizeof events);
    close(game);
    ASSERT_EQ(length, static_cast<ssize_t>(4 * sizeof(input_event)));
    EXPECT_EQ(events[0].type, EV_KEY);
    EXPECT_EQ(events[0].code, BTN_SOUTH);
    EXPECT_EQ(events[0].value, 1);
    EXPECT_EQ(events[2].code, BTN_SOUTH);
    EXPECT_EQ(events[2].value, 0);
}

TEST_F(Plugging, APadGrabbedByAGameComesBack) {
    const auto pad = PlugIn();
    const int game = open(pad->Node().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(ioctl(game, EVIOCGRAB, 1), 0);
    pad->Press(BTN_EAST);
    pad->Release(BTN_EAST);
    close(game);
    ExpectNothingBefore(*pad);
}

TEST_F(Plugging, OurOwnKeyboardIsNeverTakenForAPad) {
    EXPECT_FALSE(Reads(keys_->Node()));
    EXPECT_EQ(service_->Count("Total get"), 0U);
    EXPECT_EQ(service_->Count("The connected device count is 0"), 1U);
    struct stat node {};
    ASSERT_EQ(stat(keys_->Node().c_str(), &node), 0);
    std::ifstream known("/run/udev/data/c" + std::to_string(major(node.st_rdev)) + ":" +
                        std::to_string(minor(node.st_rdev)));
    const std::string properties{std::istreambuf_iterator<char>(known), {}};
    EXPECT_THAT(properties, Not(HasSubstr("ID_INPUT_JOYSTICK")));
}

TEST_F(Plugging, AKeyboardOfAnotherKindIsNotTakenForAPad) {
    UinputPad keyboard({"Test keyboard", BUS_USB, 0x1234, 0x0001, 1, {KEY_A, KEY_B, KEY_ENTER}, {}});
    const auto pad = PlugIn();
    EXPECT_TRUE(Reads(pad->Node()));
    EXPECT_FALSE(Reads(keyboard.Node()));
    ExpectNothingBefore(*pad);
}

class PluggedBeforeStart : public StoppedRemoteTest {};

TEST_F(PluggedBeforeStart, PadsAreFound) {
    UinputPad first(CommonPad());
    UinputPad second(OldUsbPad());
    if (access("/run/udev/control", F_OK) == 0) {
        ASSERT_TRUE(Until([&] { return system("udevadm settle") == 0; }));
    }
    Start();
    EXPECT_EQ(service_->Count("Total get [2] gamepad device"), 1U);
    WaitUntilServed(first);
    ExpectNothingBefore(first);
    WaitUntilServed(second);
    second.Press(BTN_THUMB2);
    second.Release(BTN_THUMB2);
    ExpectKeys(PressedAndReleased(KEY_ESC));
}

TEST_F(PluggedBeforeStart, AHeldButtonPressesNothing) {
    UinputPad pad(CommonPad());
    pad.Press(BTN_SOUTH);
    Start();
    WaitUntilServed(pad);
    pad.Release(BTN_SOUTH);
    pad.Press(BTN_EAST);
    pad.Release(BTN_EAST);
    ExpectKeys(PressedAndReleased(KEY_ESC));
    ExpectNothingBefore(pad);
}

TEST_F(PluggedBeforeStart, AServiceThatStartsAgainTakesThePadOver) {
    UinputPad pad(CommonPad());
    for (int time = 0; time < 2; ++time) {
        Start();
        WaitUntilServed(pad);
        ExpectNothingBefore(pad);
        Stop();
    }
    service_.reset();
}

}  // namespace
