#include "virtual_key/key_codes.h"

#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <climits>
#include <cstring>

namespace {

bool CanBeSent(int platformCode) {
    return WhyNoKey(platformCode) == nullptr;
}

bool IsNamedAsAButton(int kernelCode) {
    const char* name = libevdev_event_code_get_name(EV_KEY, static_cast<unsigned int>(kernelCode));
    return name != nullptr && std::strncmp(name, "BTN_", 4) == 0;
}

TEST(EveryKeyThatTheServiceSends, CanBeSent) {
    for (const int code : {36, 9, 148, 74, 571, 71, 572, 114, 113, 116, 111, 96, 95, 75, 76, 124}) {
        EXPECT_TRUE(CanBeSent(code)) << code;
    }
}

TEST(ACodeOutsideTheKernelsRange, CannotBeSent) {
    for (const int code : {INT_MIN, -1, 0, 7, 8, 776, 1024, 65536 + 36, INT_MAX}) {
        EXPECT_FALSE(CanBeSent(code)) << code;
    }
    EXPECT_TRUE(CanBeSent(9));
    EXPECT_TRUE(CanBeSent(775));
}

TEST(ACodeThatTheKernelCallsAButton, CannotBeSent) {
    int buttons = 0;
    for (int code = 0; code <= KEY_MAX; ++code) {
        if (IsNamedAsAButton(code)) {
            EXPECT_FALSE(CanBeSent(code + 8)) << code;
            ++buttons;
        }
    }
    EXPECT_GT(buttons, 80);
}

TEST(ACodeWithoutANameBetweenTwoButtons, CannotBeSent) {
    EXPECT_FALSE(CanBeSent(0x10a + 8));
    EXPECT_FALSE(CanBeSent(0x15f + 8));
    EXPECT_FALSE(CanBeSent(0x2c0 + 8));
}

TEST(EveryCodeThatTheKernelCallsAKey, CanBeSentButLeftCtrl) {
    int keys = 0;
    for (int code = 1; code <= KEY_MAX; ++code) {
        const char* name = libevdev_event_code_get_name(EV_KEY, static_cast<unsigned int>(code));
        if (name != nullptr && std::strncmp(name, "KEY_", 4) == 0) {
            EXPECT_EQ(CanBeSent(code + 8), code != KEY_LEFTCTRL) << name;
            ++keys;
        }
    }
    EXPECT_GT(keys, 400);
}

// udev calls a device a full keyboard when it has each of these.
TEST(TheRemote, IsNoFullKeyboard) {
    int missing = 0;
    for (int code = KEY_ESC; code <= KEY_S; ++code) {
        missing += CanBeSent(code + 8) ? 0 : 1;
    }
    EXPECT_EQ(missing, 1);
}

TEST(AKeysName, IsTheKernels) {
    EXPECT_EQ(KeyName(36), "KEY_ENTER");
    EXPECT_EQ(KeyName(9), "KEY_ESC");
    EXPECT_EQ(KeyName(124), "KEY_POWER");
}

TEST(AKeysName, IsOurOwnWhereTheKernelHasNone) {
    EXPECT_EQ(KeyName(571), "REMOTE_STICK");
    EXPECT_EQ(KeyName(572), "REMOTE_PLAYDECK");
    EXPECT_EQ(KeyName(770), "KEY_762");
}

}  // namespace
