// What each part of a pad becomes.
#include "controls.h"
#include "remote_test.h"

namespace {

std::string NameOf(const testing::TestParamInfo<Control>& info) {
    return info.param.name;
}

class EachControl : public RemoteTest, public testing::WithParamInterface<Control> {};

TEST_P(EachControl, HoldsItsKeyWhileItIsHeld) {
    const Control& control = GetParam();
    const auto pad = PlugIn(control.layout());
    for (int time = 0; time < 2; ++time) {
        pad->Send({control.press});
        ExpectKeys(Pressed(control.key));
        EXPECT_THAT(keys_->HeldKeys(), ElementsAre(control.key));
        pad->Send({control.release});
        ExpectKeys(Released(control.key));
        EXPECT_THAT(keys_->HeldKeys(), IsEmpty());
    }
}

using testing::ValuesIn;
INSTANTIATE_TEST_SUITE_P(OfACommonPad, EachControl, ValuesIn(ControlsOfACommonPad()), NameOf);
INSTANTIATE_TEST_SUITE_P(OfAPadWithDirectionButtons, EachControl, ValuesIn(ControlsOfAPadWithDirectionButtons()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(OfAPadWithAHomePageKey, EachControl, ValuesIn(ControlsOfAPadWithAHomePageKey()), NameOf);
INSTANTIATE_TEST_SUITE_P(OfAnOldUsbPad, EachControl, ValuesIn(ControlsOfAnOldUsbPad()), NameOf);

class SilentControl : public RemoteTest, public testing::WithParamInterface<Control> {};

TEST_P(SilentControl, SendsNothing) {
    const auto pad = PlugIn();
    const size_t before = service_->Now();
    pad->Send({GetParam().press});
    pad->Send({GetParam().release});
    EXPECT_TRUE(service_->Prints("Get a event[", before));
    ExpectNothingBefore(*pad);
}

INSTANTIATE_TEST_SUITE_P(OfACommonPad, SilentControl,
                         testing::Values(Button("North", BTN_NORTH, 0), Button("LeftShoulder", BTN_TL, 0),
                                         Button("RightShoulder", BTN_TR, 0), Button("Select", BTN_SELECT, 0),
                                         Button("RightStickClick", BTN_THUMBR, 0), Push("LeftTrigger", ABS_Z, 255, 0),
                                         Push("RightTrigger", ABS_RZ, 255, 0),
                                         Push("LeftStickAtTheThreshold", ABS_X, 16383, 0),
                                         Push("LeftStickAtTheLowerThreshold", ABS_Y, -16384, 0)),
                         NameOf);

using PadTest = RemoteTest;

TEST_F(PadTest, AStickOnePastTheThresholdPressesAndAtTheThresholdReleases) {
    const auto pad = PlugIn();
    pad->Move(ABS_X, 16384);
    ExpectKeys(Pressed(KEY_RIGHT));
    pad->Move(ABS_X, 16383);
    ExpectKeys(Released(KEY_RIGHT));
}

TEST_F(PadTest, ATapBetweenTwoLooksAtThePadIsSeen) {
    const auto pad = PlugIn();
    for (int tap = 0; tap < 5; ++tap) {
        pad->Press(BTN_EAST);
        pad->Release(BTN_EAST);
    }
    for (int tap = 0; tap < 5; ++tap) {
        ExpectKeys(PressedAndReleased(KEY_ESC));
    }
}

TEST_F(PadTest, AFlickOfAStickBetweenTwoLooksAtThePadIsSeen) {
    const auto pad = PlugIn();
    for (const int position : {9000, 25000, 32767, 20000, 4000, 0}) {
        pad->Move(ABS_Y, position);
    }
    ExpectKeys(PressedAndReleased(KEY_DOWN));
}

TEST_F(PadTest, WhileOneKeyIsHeldNoOtherIsPressed) {
    const auto pad = PlugIn();
    pad->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    pad->Press(BTN_EAST);
    pad->Release(BTN_EAST);
    pad->Release(BTN_SOUTH);
    ExpectKeys(Released(KEY_ENTER));
}

TEST_F(PadTest, StartAlonePressesAndReleasesItsKeyAtOnce) {
    const auto pad = PlugIn();
    pad->Press(BTN_START);
    ExpectKeys(PressedAndReleased(KEY_F8));
    pad->Release(BTN_START);
    ExpectNothingBefore(*pad);
}

TEST_F(PadTest, SelectAndStartHeldForASecondSendTheirOwnKeyOnce) {
    // Held buttons are looked at every 50 ms: a shorter pause between two holds is no pause.
    constexpr milliseconds kPause{500};
    const auto pad = PlugIn();
    for (int time = 0; time < 2; ++time) {
        std::this_thread::sleep_for(kPause);
        pad->Press(BTN_SELECT);
        const auto start = Clock::now();
        pad->Press(BTN_START);
        const auto keys = keys_->Read(2);
        EXPECT_EQ(keys, PressedAndReleased(KEY_POWER));
        ASSERT_FALSE(keys.empty());
        EXPECT_GE(keys[0].time - start, milliseconds(1000));
        EXPECT_LE(keys[0].time - start, Limit(milliseconds(1200)));
        pad->Release(BTN_START);
        pad->Release(BTN_SELECT);
    }
    ExpectNothingBefore(*pad);
}

TEST_F(PadTest, SelectAndStartHeldTooShortSendNothing) {
    const auto pad = PlugIn();
    const size_t before = service_->Now();
    pad->Press(BTN_SELECT);
    pad->Press(BTN_START);
    ASSERT_TRUE(service_->Prints("m_iHoldTime[1000]", before));
    pad->Release(BTN_SELECT);
    pad->Release(BTN_START);
    ExpectNothingBefore(*pad);
}

class Home : public RemoteTest {
protected:
    void Tap(UinputPad& pad) {
        pad.Press(BTN_MODE);
        pad.Release(BTN_MODE);
    }
};

TEST_F(Home, IsTheHomeViewKeyWithoutAGameHub) {
    const auto pad = PlugIn();
    Tap(*pad);
    ExpectKeys(PressedAndReleased(KEY_F5));
    ExpectNothingBefore(*pad);
}

TEST_F(Home, FollowsTheStatusWhileTheServiceRuns) {
    const auto pad = PlugIn();
    SetStatus("int32 1");
    Tap(*pad);
    ExpectKeys(PressedAndReleased(kRemotePlaydeck));
    SetStatus("int32 2");
    Tap(*pad);
    ExpectNothingBefore(*pad);
    SetStatus("int32 0");
    Tap(*pad);
    ExpectKeys(PressedAndReleased(KEY_F5));
}

TEST_F(Home, HeldIsTheGameHubKeyInStatus1000) {
    const auto pad = PlugIn();
    SetStatus("int32 1000");
    const auto start = Clock::now();
    pad->Press(BTN_MODE);
    const auto keys = keys_->Read(2);
    EXPECT_EQ(keys, PressedAndReleased(kRemotePlaydeck));
    ASSERT_FALSE(keys.empty());
    EXPECT_GE(keys[0].time - start, milliseconds(1000));
    EXPECT_LE(keys[0].time - start, Limit(milliseconds(1150)));
    pad->Release(BTN_MODE);
    ExpectNothingBefore(*pad);
}

TEST_F(Home, TappedIsNothingInStatus1000) {
    const auto pad = PlugIn();
    SetStatus("int32 1000");
    pad->Press(BTN_MODE);
    ASSERT_TRUE(service_->Prints("Wait[1000]ms!"));
    pad->Release(BTN_MODE);
    EXPECT_TRUE(service_->Prints("Wake up!"));
    ExpectNothingBefore(*pad);
}

TEST_F(Home, HeldOnTwoPadsIsTheGameHubKeyOfEach) {
    const auto first = PlugIn();
    const auto second = PlugIn();
    SetStatus("int32 1000");
    first->Press(BTN_MODE);
    second->Press(BTN_MODE);
    ExpectKeys(PressedAndReleased(kRemotePlaydeck));
    ExpectKeys(PressedAndReleased(kRemotePlaydeck));
    first->Release(BTN_MODE);
    second->Release(BTN_MODE);
    ExpectNothingBefore(*first);
}

class HomeBeforeStart : public StoppedRemoteTest {};

TEST_F(HomeBeforeStart, FollowsTheStatusThatWasThere) {
    SetStatus("int32 1");
    Start();
    const auto pad = PlugIn(PadWithHomePageKey());
    pad->Press(BTN_MODE);
    pad->Release(BTN_MODE);
    ExpectKeys(PressedAndReleased(kRemotePlaydeck));
    pad->Press(KEY_HOMEPAGE);
    pad->Release(KEY_HOMEPAGE);
    ExpectKeys(PressedAndReleased(kRemotePlaydeck));
}

class TwoPads : public RemoteTest {};

TEST_F(TwoPads, ShareOneHeldKey) {
    const auto first = PlugIn();
    const auto second = PlugIn();
    first->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    const size_t before = service_->Now();
    second->Press(BTN_EAST);
    EXPECT_TRUE(service_->Prints("Ignore invalid gamepad key event!", before));
    second->Release(BTN_EAST);
    first->Release(BTN_SOUTH);
    ExpectKeys(Released(KEY_ENTER));
    ExpectNothingBefore(*second);
}

TEST_F(TwoPads, EitherMayReleaseTheKeyOfTheOther) {
    const auto first = PlugIn();
    const auto second = PlugIn();
    first->Press(BTN_SOUTH);
    ExpectKeys(Pressed(KEY_ENTER));
    second->Press(BTN_SOUTH);
    second->Release(BTN_SOUTH);
    ExpectKeys(Released(KEY_ENTER));
    first->Release(BTN_SOUTH);
    ExpectNothingBefore(*first);
}

TEST_F(TwoPads, HoldASelectAndStartPairTogether) {
    const auto first = PlugIn();
    const auto second = PlugIn();
    const size_t before = service_->Now();
    first->Press(BTN_SELECT);
    ASSERT_TRUE(service_->Prints("KeyCode [10] is a combined key", before));
    second->Press(BTN_START);
    ExpectKeys(PressedAndReleased(KEY_POWER));
    second->Release(BTN_START);
    first->Release(BTN_SELECT);
    ExpectNothingBefore(*second);
}

}  // namespace
