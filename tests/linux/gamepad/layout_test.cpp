#include "gamepad/layout.h"

#include <gmock/gmock.h>

#include <tuple>

#include "evdev_model.h"
#include "gamepad/button_table.h"

using gamepad::ChooseLayout;
using gamepad::DirectLayout;
using gamepad::IsStandard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Event = std::tuple<int, int, int>;

std::vector<Event> Through(gamepad::Layout& layout, unsigned type, unsigned code, int value) {
    std::vector<Event> events;
    for (const mapping::Output& output : layout.Translate(type, code, value)) {
        events.emplace_back(output.type, output.code, output.value);
    }
    return events;
}

Event Button(int number, int value) {
    return {EV_KEY, number, value};
}
Event Axis(int axis, int value) {
    return {EV_ABS, axis, value};
}

TEST(ButtonTable, NumbersEveryButtonOnce) {
    const std::vector<std::pair<unsigned, int>> expected{
        {0x130, 0}, {0x131, 1}, {0x134, 2},  {0x133, 3},  {0x136, 4},  {0x137, 5},  {0x138, 6},  {0x139, 7},
        {0x132, 8}, {0x135, 9}, {0x13a, 10}, {0x13b, 11}, {0x13d, 12}, {0x13e, 13}, {0x13c, 14}, {172, 398}};
    EXPECT_EQ(gamepad::Buttons().size(), expected.size());
    for (const auto& [key, number] : expected) {
        EXPECT_THAT(gamepad::ButtonOf(key), testing::Optional(number)) << key;
    }
}

TEST(ButtonTable, KnowsNoOtherKeys) {
    for (const unsigned key : {0U, 1U, 0x12fU, 0x13fU, 0x220U, 0x2c0U, 0x2ffU, 0xffffU}) {
        EXPECT_EQ(gamepad::ButtonOf(key), std::nullopt) << key;
    }
}

TEST(TheStandardRule, AcceptsAPadThatNamesItsButtons) {
    EXPECT_TRUE(IsStandard(Announce(StandardPad()).get()));
    EXPECT_TRUE(IsStandard(Announce(PadWithDirectionKeys()).get()));
}

TEST(TheStandardRule, RefusesAPadThatNumbersThemThrough) {
    EXPECT_FALSE(IsStandard(Announce(NumberedPad()).get()));
    EXPECT_FALSE(IsStandard(Announce(StandardPad().With({BTN_C})).get()));
    EXPECT_FALSE(IsStandard(Announce(StandardPad().With({BTN_Z})).get()));
}

TEST(TheStandardRule, NeedsEachOfItsButtonsAndBothSticks) {
    for (const unsigned key : std::vector<unsigned>{BTN_SOUTH, BTN_EAST, BTN_NORTH, BTN_WEST, BTN_SELECT, BTN_START}) {
        EXPECT_FALSE(IsStandard(Announce(StandardPad().Without({key})).get())) << key;
    }
    PadModel one_stick = StandardPad();
    one_stick.axes.resize(2);
    EXPECT_FALSE(IsStandard(Announce(one_stick).get()));
}

class AStandardPad : public testing::Test {
protected:
    Evdev device_ = Announce(StandardPad().With({KEY_HOMEPAGE}));
    std::unique_ptr<gamepad::Layout> layout_ = DirectLayout::Standard(device_.get());
};

TEST_F(AStandardPad, PressesAndReleasesEachButtonByItsNumber) {
    for (const auto& [key, number] : gamepad::Buttons()) {
        if (libevdev_has_event_code(device_.get(), EV_KEY, key) == 1) {
            EXPECT_THAT(Through(*layout_, EV_KEY, key, 1), ElementsAre(Button(number, 1)));
            EXPECT_THAT(Through(*layout_, EV_KEY, key, 0), ElementsAre(Button(number, 0)));
        }
    }
}

TEST_F(AStandardPad, DropsAutoRepeat) {
    Through(*layout_, EV_KEY, BTN_SOUTH, 1);
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_SOUTH, 2), IsEmpty());
}

TEST_F(AStandardPad, DoesNotReleaseWhatWasNeverPressed) {
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_SOUTH, 0), IsEmpty());
}

TEST_F(AStandardPad, DropsCodesThatItNeverAnnounced) {
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_C, 1), IsEmpty());
    EXPECT_THAT(Through(*layout_, EV_KEY, KEY_MAX, 1), IsEmpty());
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_MAX, 1), IsEmpty());
    EXPECT_THAT(Through(*layout_, EV_MSC, MSC_SCAN, 1), IsEmpty());
    EXPECT_THAT(Through(*layout_, 0xffff, 0xffff, 1), IsEmpty());
}

TEST_F(AStandardPad, DeliversItsAxesAsTheyAre) {
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_RX, -32768), ElementsAre(Axis(3, -32768)));
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_Z, 255), ElementsAre(Axis(2, 255)));
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_Z, 999), ElementsAre(Axis(2, 255)));
    ASSERT_EQ(layout_->Axes().size(), 6U);
}

TEST_F(AStandardPad, DeliversItsHat) {
    EXPECT_TRUE(layout_->HasHat(ABS_HAT0X));
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_HAT0X, -1), ElementsAre(Axis(16, -1)));
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_HAT0X, -1), IsEmpty());
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_HAT0X, 0), ElementsAre(Axis(16, 0)));
    EXPECT_THAT(Through(*layout_, EV_ABS, ABS_HAT0Y, 1), ElementsAre(Axis(17, 1)));
}

class APadWithDirectionKeys : public testing::Test {
protected:
    Evdev device_ = Announce(PadWithDirectionKeys());
    std::unique_ptr<gamepad::Layout> layout_ = DirectLayout::Standard(device_.get());
};

TEST_F(APadWithDirectionKeys, DeliversThemAsHatAxes) {
    EXPECT_TRUE(layout_->HasHat(ABS_HAT0X));
    EXPECT_TRUE(layout_->HasHat(ABS_HAT0Y));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_LEFT, 1), ElementsAre(Axis(16, -1)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_LEFT, 0), ElementsAre(Axis(16, 0)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_RIGHT, 1), ElementsAre(Axis(16, 1)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_UP, 1), ElementsAre(Axis(17, -1)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_UP, 0), ElementsAre(Axis(17, 0)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_DOWN, 1), ElementsAre(Axis(17, 1)));
}

TEST_F(APadWithDirectionKeys, CancelsOppositeOnesThatAreHeldTogether) {
    Through(*layout_, EV_KEY, BTN_DPAD_LEFT, 1);
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_RIGHT, 1), ElementsAre(Axis(16, 0)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_LEFT, 0), ElementsAre(Axis(16, 1)));
    EXPECT_THAT(Through(*layout_, EV_KEY, BTN_DPAD_RIGHT, 0), ElementsAre(Axis(16, 0)));
}

TEST(APadWithoutADirectionalPad, HasNoHat) {
    PadModel model = StandardPad();
    model.axes.resize(4);
    EXPECT_FALSE(DirectLayout::Standard(Announce(model).get())->HasHat(ABS_HAT0X));
}

TEST(AnAxisWithoutARange, IsNotDelivered) {
    PadModel model = StandardPad();
    model.axes[0] = {ABS_X, 0, 0};
    const auto layout = DirectLayout::Standard(Announce(model).get());
    EXPECT_EQ(layout->Axes().size(), 5U);
    EXPECT_THAT(Through(*layout, EV_ABS, ABS_X, 17), IsEmpty());
}

TEST(AnUnknownNumberedPad, GetsItsButtonsInTheUsualOrder) {
    const auto layout = DirectLayout::Automatic(Announce(NumberedPad()).get());
    EXPECT_THAT(Through(*layout, EV_KEY, 0x130, 1), ElementsAre(Button(0, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, 0x131, 1), ElementsAre(Button(1, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, 0x132, 1), ElementsAre(Button(2, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, 0x138, 1), ElementsAre(Button(10, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, 0x139, 1), ElementsAre(Button(11, 1)));
}

TEST(AnUnknownNumberedPad, HasItsRightStickOnZAndRz) {
    const auto layout = DirectLayout::Automatic(Announce(NumberedPad()).get());
    EXPECT_THAT(Through(*layout, EV_ABS, ABS_Z, 255), ElementsAre(Axis(3, 255)));
    EXPECT_THAT(Through(*layout, EV_ABS, ABS_RZ, 0), ElementsAre(Axis(4, 0)));
}

TEST(AnUnknownPadThatNamesItsButtons, KeepsTheNames) {
    const auto layout = DirectLayout::Automatic(Announce(StandardPad().Without({BTN_NORTH})).get());
    EXPECT_THAT(Through(*layout, EV_KEY, BTN_WEST, 1), ElementsAre(Button(2, 1)));
    EXPECT_THAT(Through(*layout, EV_ABS, ABS_RX, 99), ElementsAre(Axis(3, 99)));
}

TEST(AnUnknownJoystick, AcceptsWithItsFirstButton) {
    PadModel model = KnownOldPad();
    model.keys = {BTN_TRIGGER, BTN_THUMB};
    const auto layout = DirectLayout::Automatic(Announce(model).get());
    EXPECT_THAT(Through(*layout, EV_KEY, BTN_TRIGGER, 1), ElementsAre(Button(0, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, BTN_THUMB, 1), ElementsAre(Button(1, 1)));
}

TEST(ADeviceWithEveryKey, IsTranslatedLikeAnyOther) {
    PadModel model = StandardPad();
    for (unsigned key = 1; key < KEY_MAX; ++key) {
        model.keys.push_back(key);
    }
    const auto layout = DirectLayout::Automatic(Announce(model).get());
    EXPECT_THAT(Through(*layout, EV_KEY, BTN_JOYSTICK, 1), ElementsAre(Button(0, 1)));
    EXPECT_THAT(Through(*layout, EV_KEY, KEY_MAX - 1, 1), IsEmpty());
}

class TheChoice : public testing::Test {
protected:
    gamepad::ChosenLayout For(const PadModel& model) { return ChooseLayout(Announce(model).get(), database_); }
    mapping::Database database_{mapping::Sources{}};
};

TEST_F(TheChoice, IsToReadAStandardPadDirectly) {
    const auto chosen = For(StandardPad());
    EXPECT_TRUE(chosen.standard);
    EXPECT_EQ(chosen.description, "standard layout");
}

TEST_F(TheChoice, IsTheMappingOfAKnownPad) {
    const auto chosen = For(KnownOldPad());
    EXPECT_FALSE(chosen.standard);
    EXPECT_THAT(chosen.description, testing::StartsWith("mapped as \""));
    EXPECT_EQ(chosen.layout->Axes().size(), 4U);
    EXPECT_THAT(Through(*chosen.layout, EV_KEY, BTN_THUMB, 1), ElementsAre(Button(0, 1)));
}

TEST_F(TheChoice, LetsAMappedPadHaveAHomeKeyOfItsOwn) {
    const auto chosen = For(KnownOldPad().With({KEY_HOMEPAGE}));
    EXPECT_THAT(Through(*chosen.layout, EV_KEY, KEY_HOMEPAGE, 1), ElementsAre(Button(398, 1)));
    EXPECT_THAT(Through(*chosen.layout, EV_KEY, KEY_HOMEPAGE, 2), IsEmpty());
    EXPECT_THAT(Through(*chosen.layout, EV_KEY, KEY_HOMEPAGE, 0), ElementsAre(Button(398, 0)));
}

TEST_F(TheChoice, IsAGuessForTheRestAndSaysSo) {
    const auto chosen = For(NumberedPad());
    EXPECT_FALSE(chosen.standard);
    EXPECT_THAT(chosen.description, testing::HasSubstr("guessed"));
}

}  // namespace
