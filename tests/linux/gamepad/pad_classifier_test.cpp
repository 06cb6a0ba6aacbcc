#include "gamepad/pad_classifier.h"

#include <gmock/gmock.h>

#include "evdev_model.h"

using gamepad::IsPad;

namespace {

bool IsTakenForAPad(const PadModel& model) {
    return IsPad(Announce(model).get());
}

PadModel Empty() {
    PadModel model;
    model.name = "Something";
    return model;
}

TEST(Pads, AreTaken) {
    EXPECT_TRUE(IsTakenForAPad(StandardPad()));
    EXPECT_TRUE(IsTakenForAPad(PadWithDirectionKeys()));
    EXPECT_TRUE(IsTakenForAPad(NumberedPad()));
    EXPECT_TRUE(IsTakenForAPad(KnownOldPad()));
}

TEST(Pads, MayHaveNothingButButtonsAndADirectionalPad) {
    PadModel model = Empty().With({BTN_SOUTH, BTN_DPAD_UP, BTN_DPAD_DOWN, BTN_DPAD_LEFT, BTN_DPAD_RIGHT});
    EXPECT_TRUE(IsTakenForAPad(model));
}

TEST(Pads, MayHaveSomeKeysOfAKeyboard) {
    EXPECT_TRUE(IsTakenForAPad(StandardPad().With({KEY_HOMEPAGE, KEY_BACK, KEY_MENU})));
}

TEST(TheServicesOwnKeyboard, IsNeverTaken) {
    PadModel model = StandardPad();
    model.name = gamepad::kOwnKeyboard;
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(Keyboards, AreNotTakenEvenWithJoystickButtons) {
    PadModel model = StandardPad();
    for (unsigned key = KEY_ESC; key <= KEY_D; ++key) {
        model.keys.push_back(key);
    }
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(Mice, AreNotTakenEvenWithJoystickButtons) {
    PadModel model = StandardPad().With({BTN_LEFT, BTN_RIGHT});
    model.relative = {REL_X, REL_Y};
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(MotionSensors, AreNotTaken) {
    PadModel model = Empty();
    model.axes = {{ABS_X, -100, 100}, {ABS_Y, -100, 100}, {ABS_Z, -100, 100}};
    model.properties = {INPUT_PROP_ACCELEROMETER};
    EXPECT_FALSE(IsTakenForAPad(model));
    model.keys = {BTN_SOUTH};
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(TouchpadsOfPads, AreNotTaken) {
    PadModel model = Empty().With({BTN_LEFT, BTN_TOUCH, BTN_TOOL_FINGER, BTN_SOUTH});
    model.axes = {{ABS_X, 0, 1919}, {ABS_Y, 0, 941}};
    model.properties = {INPUT_PROP_POINTER, INPUT_PROP_BUTTONPAD};
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(Tablets, AreNotTaken) {
    PadModel model = Empty().With({BTN_SOUTH, BTN_TOOL_PEN, BTN_STYLUS});
    model.axes = {{ABS_X, 0, 1000}, {ABS_Y, 0, 1000}};
    EXPECT_FALSE(IsTakenForAPad(model));
}

TEST(DevicesWithoutDirectionsOrButtons, AreNotTaken) {
    EXPECT_FALSE(IsTakenForAPad(Empty().With({BTN_SOUTH})));
    PadModel axes_only = Empty();
    axes_only.axes = {{ABS_X, 0, 255}, {ABS_Y, 0, 255}};
    EXPECT_FALSE(IsTakenForAPad(axes_only));
    EXPECT_FALSE(IsTakenForAPad(Empty()));
}

}  // namespace
