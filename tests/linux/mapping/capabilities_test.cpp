#include "gamepad/mapping/capabilities.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <memory>

#include "fake_evdev.h"
#include "pads.h"

using namespace mapping;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Numbering, CountsButtonsFromTheJoysticksUpwardsThenThoseBelow) {
    const Numbering numbering(Pad({KEY_A, BTN_LEFT, BTN_TRIGGER, BTN_SOUTH, BTN_DPAD_UP, BTN_TRIGGER_HAPPY1}, {}));
    EXPECT_THAT(numbering.buttons,
                ElementsAre(BTN_TRIGGER, BTN_SOUTH, BTN_DPAD_UP, BTN_TRIGGER_HAPPY1, KEY_A, BTN_LEFT));
}

TEST(Numbering, CountsAxesByCodeWithoutTheHats) {
    const Numbering numbering(
        Pad({}, {{ABS_X, kStick}, {ABS_RZ, kStick}, {ABS_HAT0X, kHat}, {ABS_HAT0Y, kHat}, {ABS_PRESSURE, kByte}}));
    EXPECT_THAT(numbering.axes, ElementsAre(ABS_X, ABS_RZ, ABS_PRESSURE));
    EXPECT_THAT(numbering.hats, ElementsAre(ABS_HAT0X));
}

TEST(Numbering, CountsHatsThatExist) {
    EXPECT_THAT(Numbering(Pad({}, {{ABS_HAT1X, kHat}, {ABS_HAT3Y, kHat}})).hats, ElementsAre(ABS_HAT1X, ABS_HAT3X));
}

TEST(Numbering, TakesAPressureSensitiveHatForTwoAxes) {
    const input_absinfo pressure{0, -100, 100, 2, 3, 0};
    const Numbering numbering(Pad({}, {{ABS_HAT0X, pressure}, {ABS_HAT0Y, pressure}}));
    EXPECT_THAT(numbering.hats, IsEmpty());
    EXPECT_THAT(numbering.axes, ElementsAre(ABS_HAT0X, ABS_HAT0Y));
}

TEST(AnOpenDevice, TellsWhatItIsAndCanDo) {
    FakeEvdev fake({3, 0x054c, 0x0268, 0x0111, "A pad"}, NumberedPad());
    libevdev* opened = nullptr;
    ASSERT_EQ(libevdev_new_from_fd(fake.Descriptor(), &opened), 0);
    const std::unique_ptr<libevdev, decltype(&libevdev_free)> device(opened, libevdev_free);

    const DeviceId id = IdOf(device.get());
    EXPECT_EQ(id.bus, 3);
    EXPECT_EQ(id.vendor, 0x054c);
    EXPECT_EQ(id.product, 0x0268);
    EXPECT_EQ(id.version, 0x0111);
    EXPECT_EQ(id.name, "A pad");

    const Capabilities can = CapabilitiesOf(device.get());
    EXPECT_EQ(can.keys, NumberedPad().keys);
    for (unsigned axis = 0; axis < ABS_CNT; ++axis) {
        ASSERT_EQ(can.axes[axis].has_value(), NumberedPad().axes[axis].has_value()) << axis;
    }
    EXPECT_EQ(can.axes[ABS_RY]->maximum, 65535);
    EXPECT_EQ(can.axes[ABS_RY]->flat, 4095);
}

}  // namespace
