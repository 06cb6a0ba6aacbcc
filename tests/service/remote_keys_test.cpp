// Which remote-control key each button, stick and hat sends, and how one key at a time is held.

#include <atomic>
#include <climits>
#include <thread>

#include "GamepadRemoteController.h"
#include "platform/virtual_key.h"
#include "service_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::ValuesIn;

constexpr char kSendEvent[] = "GamepadRemoteController.cpp: SendRemoteControllerEvent";
constexpr char kCheckPress[] = "GamepadRemoteController.cpp: m_CheckPressEvent";
constexpr char kCheckRelease[] = "GamepadRemoteController.cpp: m_CheckReleaseEvent";
constexpr char kReleaseKey[] = "GamepadRemoteController.cpp: ReleaseVirtualKey";
constexpr char kInitialize[] = "GamepadRemoteController.cpp: Initialize";
constexpr char kDeInitialize[] = "GamepadRemoteController.cpp: DeInitialize";

constexpr int kX = 0;
constexpr int kY = 1;
constexpr int kRx = 3;
constexpr int kRy = 4;
constexpr int kHatX = 16;
constexpr int kHatY = 17;

/// Four axes with thresholds that differ: X 191 and 64, Y 767 and 256, RX 16383 and -16384, RY 50 and -50.
PadShape PadWithDifferentAxes() {
    PadShape shape;
    shape.ranges = {{kX, {255, 0}}, {kY, {1023, 0}}, {kRx, {32767, -32768}}, {kRy, {100, -100}}};
    return shape;
}

class InMenuMode : public ServiceTest {
protected:
    void SetUp() override {
        Plug(kPad, PadWithDifferentAxes());
        Start();
    }
};

// The press table, row by row.

struct Row {
    int type;
    int code;
    int pressing;  ///< the value that presses
    int key;
    int releasing = 0;
};
void PrintTo(const Row& row, std::ostream* out) {
    *out << "type " << row.type << " code " << row.code << " value " << row.pressing << " is key " << row.key;
}

constexpr Row kPressTable[] = {
    {1, 0, 1, 36},
    {1, 1, 1, 9},
    {1, 2, 1, 148},
    {1, 12, 1, 571},
    {1, 398, 1, 71},
    {3, kX, 192, 114, 191},
    {3, kX, 63, 113, 64},
    {3, kY, 768, 116, 767},
    {3, kY, 255, 111, 256},
    {3, kRx, 16384, 96, 16383},
    {3, kRx, -16385, 95, -16384},
    {3, kRy, 51, 75, 50},
    {3, kRy, -51, 76, -50},
    {3, kHatX, -1, 113},
    {3, kHatX, 1, 114},
    {3, kHatY, -1, 111},
    {3, kHatY, 1, 116},
};

class PressTable : public InMenuMode, public testing::WithParamInterface<Row> {};

TEST_P(PressTable, PressesAndReleases) {
    const Row row = GetParam();
    Send(row.type, row.code, row.pressing);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(row.key)));
    Send(row.type, row.code, row.releasing);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(row.key)));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckPress, "virtualKeyCode = [" + std::to_string(row.key) + "]")));
}
INSTANTIATE_TEST_SUITE_P(EachRow, PressTable, ValuesIn(kPressTable));

/// Buttons that the process hands to somebody else, asked of the translator itself.
class TheTranslatorAlone : public testing::Test {
protected:
    TheTranslatorAlone() { VirtualKey_Initialize("test"); }
    ~TheTranslatorAlone() override { VirtualKey_Finalize(); }

    void SetStatus(int status) {
        GamepadRemoteController::PlaydeckStatusChangeCallback(platform.MakeNode(status), &controller);
    }
    void Send(int type, int code, int value) { controller.SendRemoteControllerEvent(device, {0, type, code, value}); }

    FakePlatform platform;
    GamepadRemoteController controller;
    _DeviceInfo device;
};

TEST_F(TheTranslatorAlone, GivesButton11Its74) {
    Send(1, 11, 1);
    Send(1, 11, 0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(74), Released(74)));
}

TEST_F(TheTranslatorAlone, GivesButton14TheHomeKeyWithoutAGameHub) {
    Send(1, 14, 1);
    Send(1, 14, 0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(71), Released(71)));
}

TEST_F(TheTranslatorAlone, GivesButton14TheHubsKeyWhereThereIsOne) {
    SetStatus(2);
    Send(1, 14, 1);
    Send(1, 14, 2);
    Send(1, 14, 0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(572), Released(572)));
}

TEST_F(TheTranslatorAlone, KeepsAStatusInPlaceOfOneThatItCannotRead) {
    SetStatus(2);
    platform.FailOn("vconf_get_int");
    platform.AllowViolations();  // the fixture has the key library initialised already
    ASSERT_TRUE(controller.Initialize());
    Send(1, 398, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(572)));
    controller.DeInitialize();
}

TEST_F(TheTranslatorAlone, HoldsItsKeyBeyondItsEnd) {
    platform.AllowViolations();  // keys are sent, although the key library is finalised
    Send(1, 0, 1);
    controller.DeInitialize();
    platform.TakeKeys();
    controller.ReleaseVirtualKey();
    EXPECT_THAT(platform.CallTexts("VirtualKey_Send_KeyCode"),
                ElementsAre("VirtualKey_Send_KeyCode(36, 1)", "VirtualKey_Send_KeyCode(36, 0)"));
}

TEST_F(TheTranslatorAlone, DoesNothingForNobody) {
    EXPECT_NO_FATAL_FAILURE(GamepadRemoteController::PlaydeckStatusChangeCallback(platform.MakeNode(1), nullptr));
    EXPECT_THAT(platform.CallTexts("vconf_keynode_get_int"), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("Playdeck status"))));
}

// What presses nothing.

struct Silent {
    int type;
    int code;
    int value;
};
void PrintTo(const Silent& event, std::ostream* out) {
    *out << "type " << event.type << " code " << event.code << " value " << event.value;
}

constexpr Silent kSilent[] = {
    {1, 3, 1},        {1, 4, 1},       {1, 9, 1},       {1, 13, 1},    {1, 15, 1},    {1, -1, 1},      {1, 397, 1},
    {1, 399, 1},      {1, INT_MIN, 1}, {1, 0, 2},       {1, 0, -1},    {1, 1, 0},     {1, 398, 2},     {3, 2, 32767},
    {3, 5, -32768},   {3, 18, 1},      {3, -1, 1},      {3, kHatX, 0}, {3, kHatX, 2}, {3, kHatX, -2},  {3, kHatY, 0},
    {3, kHatY, 2},    {3, kHatY, -2},  {0, 0, 1},       {2, 0, 1},     {4, 0, 1},     {-1, 0, 1},      {0, kX, 32767},
    {3, kX, 191},     {3, kX, 64},     {3, kX, 128},    {3, kY, 767},  {3, kY, 256},  {3, kY, 500},    {3, kRx, 16383},
    {3, kRx, -16384}, {3, kRx, 0},     {3, kRy, 50},    {3, kRy, -50}, {3, kRy, 0},   {3, kX, 190},    {3, kX, 65},
    {3, kY, 766},     {3, kY, 257},    {3, kRx, 16382}, {3, kRy, 49},  {3, kRy, -49}, {INT_MAX, 0, 1}, {3, INT_MAX, 1},
    {3, INT_MIN, 1},
};

class WhatIsInNoRow : public InMenuMode, public testing::WithParamInterface<Silent> {};

TEST_P(WhatIsInNoRow, SendsNothingAndSaysSo) {
    const Silent event = GetParam();
    Send(event.type, event.code, event.value);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckPress, "virtualKeyCode = [-1]")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kSendEvent, "Menu Mode doesn't support such gamepad key[" + std::to_string(event.code) +
                                              "] or Can't trigger RC Simulation")));
}
INSTANTIATE_TEST_SUITE_P(EachOfMany, WhatIsInNoRow, ValuesIn(kSilent));

// Sticks.

struct Axis {
    int code;
    int upper;
    int lower;
    int upperKey;
    int lowerKey;
};
void PrintTo(const Axis& axis, std::ostream* out) {
    *out << "axis " << axis.code;
}

constexpr Axis kAxes[] = {
    {kX, 191, 64, 114, 113}, {kY, 767, 256, 116, 111}, {kRx, 16383, -16384, 96, 95}, {kRy, 50, -50, 75, 76}};

class EachStick : public InMenuMode, public testing::WithParamInterface<Axis> {};

TEST_P(EachStick, PressesOnlyBeyondItsUpperThreshold) {
    const Axis axis = GetParam();
    Move(axis.code, axis.upper - 1);
    Move(axis.code, axis.upper);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(axis.code, axis.upper + 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.upperKey)));
}

TEST_P(EachStick, PressesOnlyBeyondItsLowerThreshold) {
    const Axis axis = GetParam();
    Move(axis.code, axis.lower + 1);
    Move(axis.code, axis.lower);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(axis.code, axis.lower - 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.lowerKey)));
}

TEST_P(EachStick, StaysPressedUntilItIsBackAtTheThreshold) {
    const Axis axis = GetParam();
    Move(axis.code, axis.upper + 9);
    Move(axis.code, axis.upper + 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.upperKey)));
    Move(axis.code, axis.upper);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(axis.upperKey)));
    Move(axis.code, axis.lower - 9);
    Move(axis.code, axis.lower - 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.lowerKey)));
    Move(axis.code, axis.lower);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(axis.lowerKey)));
}

TEST_P(EachStick, ReleasesAnywhereInTheDeadBand) {
    const Axis axis = GetParam();
    Move(axis.code, axis.upper + 1);
    Move(axis.code, axis.lower);
    Move(axis.code, axis.lower - 1);
    Move(axis.code, (axis.upper + axis.lower) / 2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.upperKey), Released(axis.upperKey),
                                                 Pressed(axis.lowerKey), Released(axis.lowerKey)));
}

TEST_P(EachStick, ThrownToTheOtherSideStillHoldsItsFirstKey) {
    const Axis axis = GetParam();
    Move(axis.code, axis.upper + 1);
    Move(axis.code, axis.lower - 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.upperKey)));
    Move(axis.code, axis.lower);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(axis.upperKey)));
}

TEST_P(EachStick, TakesTheMostExtremePositions) {
    const Axis axis = GetParam();
    Move(axis.code, INT_MAX);
    Move(axis.code, axis.upper);
    Move(axis.code, INT_MIN);
    EXPECT_THAT(platform.TakeKeys(),
                ElementsAre(Pressed(axis.upperKey), Released(axis.upperKey), Pressed(axis.lowerKey)));
}
INSTANTIATE_TEST_SUITE_P(OfFour, EachStick, ValuesIn(kAxes));

class OnAPadWithoutReadableRanges : public ServiceTest, public testing::WithParamInterface<Axis> {
protected:
    void SetUp() override {
        PadShape shape;
        shape.ranges = {};
        Plug(kPad, shape);
        Start();
    }
};

TEST_P(OnAPadWithoutReadableRanges, RestPressesTheUpperKeyAndOnlyMinusOneReleasesIt) {
    const Axis axis = GetParam();
    Move(axis.code, 0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.upperKey)));
    Move(axis.code, 1);
    Move(axis.code, -2);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(axis.code, -1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(axis.upperKey)));
    Move(axis.code, -2);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(axis.lowerKey)));
}
INSTANTIATE_TEST_SUITE_P(EachStick, OnAPadWithoutReadableRanges, ValuesIn(kAxes));

// One key at a time.

TEST_F(InMenuMode, APressIsToldStepByStep) {
    platform.ForgetLog();
    Press(398);
    EXPECT_THAT(
        platform.Timeline(),
        HasInOrder(Entries{"I: [Menu Mode]Get a event from [pad]:time[1]type[1]code[398]val[1]",
                           "I: No need release! check if any RemoteControl Press event", "I: virtualKeyCode = [71]",
                           "I: Sent virtualkey [Press] event with code:[71]", "VirtualKey_Send_KeyCode(71, 1)",
                           "I: Pressed: KeyType[1]KeyCode[18e]VirtualKeyCode[71]"}));
    for (const char* const message :
         {"[Menu Mode]Get a event from [pad]:time[1]type[1]code[398]val[1]",
          "No need release! check if any RemoteControl Press event", "Sent virtualkey [Press] event with code:[71]",
          "Pressed: KeyType[1]KeyCode[18e]VirtualKeyCode[71]"}) {
        EXPECT_THAT(platform.LogLines(), Contains(Info(kSendEvent, message)));
    }
}

TEST_F(InMenuMode, AReleaseIsToldBeforeItIsSent) {
    Press(0);
    Release(0);
    EXPECT_THAT(platform.Timeline(), HasInOrder(Entries{"VirtualKey_Send_KeyCode(36, 1)",
                                                        "I: Sent virtualkey [Release] event with code:[36]",
                                                        "VirtualKey_Send_KeyCode(36, 0)"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kSendEvent, "Sent virtualkey [Release] event with code:[36]")));
}

TEST_F(InMenuMode, KeysAreSentOnTheDispatchersThread) {
    Press(0);
    Release(0);
    for (const SentKey& key : platform.TakeKeys()) {
        EXPECT_EQ(key.thread, kDispatcherThread);
    }
}

TEST_F(InMenuMode, NegativePositionsAreLoggedAsSuch) {
    Move(kRx, -20000);
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kSendEvent, "[Menu Mode]Get a event from [pad]:time[1]type[3]code[3]val[-20000]")));
}

TEST_F(InMenuMode, ManyEventsOfOnePassAreHandledInOrder) {
    platform.PressButton(kPad, 0);
    platform.ReleaseButton(kPad, 0);
    platform.MoveAxis(kPad, kHatX, -1);
    platform.MoveAxis(kPad, kHatX, 0);
    platform.PressButton(kPad, 1);
    ASSERT_TRUE(platform.WaitUntilHandled(kPad));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36), Released(36), Pressed(113), Released(113), Pressed(9)));
}

TEST_F(InMenuMode, NothingIsReleasedWhereNothingIsHeld) {
    Release(0);
    Move(kHatX, 0);
    platform.SendConnectionNotice(GAMEPAD_DISCONNECTED, "stranger");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(InMenuMode, ARefusedSendIsNotLookedAt) {
    platform.FailAlways("VirtualKey_Send_KeyCode");
    Press(0);
    Press(1);
    Release(0);
    EXPECT_THAT(platform.CallTexts("VirtualKey_Send_KeyCode"),
                ElementsAre("VirtualKey_Send_KeyCode(36, 1)", "VirtualKey_Send_KeyCode(36, 0)"));
}

class WhileReturnIsHeld : public InMenuMode {
protected:
    void SetUp() override {
        InMenuMode::SetUp();
        Press(0);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    }
};

TEST_F(WhileReturnIsHeld, AnAutoRepeatNeitherPressesNorReleases) {
    Send(1, 0, 2);
    Send(1, 0, 1);
    Send(1, 0, -1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.KeysDown(), ElementsAre(36));
}

TEST_F(WhileReturnIsHeld, AnotherButtonIsDropped) {
    Press(1);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckRelease,
                                                   "Ignore invalid gamepad key event! "
                                                   "pressed:KeyType[1]KeyCode=[0]current:KeyType[1]KeyCode[1]")));
    Release(1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
}

TEST_F(WhileReturnIsHeld, AnAxisOfTheSameNumberDoesNotReleaseIt) {
    Move(kX, 0);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckRelease,
                                                   "Ignore invalid gamepad key event! "
                                                   "pressed:KeyType[1]KeyCode=[0]current:KeyType[3]KeyCode[0]")));
    EXPECT_THAT(platform.KeysDown(), ElementsAre(36));
}

TEST_F(WhileReturnIsHeld, NegativeCodesAreLoggedAsHexadecimals) {
    Press(-2);
    EXPECT_THAT(platform.LogLines(),
                Contains(Info(kCheckRelease,
                              "Ignore invalid gamepad key event! "
                              "pressed:KeyType[1]KeyCode=[0]current:KeyType[1]KeyCode[fffffffe]")));
}

TEST_F(WhileReturnIsHeld, CombinationButtonsAreDropped) {
    Press(11);
    Press(10);
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
    EXPECT_THAT(platform.LogMessages(), Not(Contains("key 11 is a combined key!")));
}

TEST_F(WhileReturnIsHeld, HomeStillWorks) {
    Press(14);
    Release(14);
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71), Released(36)));
}

TEST_F(WhileReturnIsHeld, TheNextPressAfterTheReleaseWorks) {
    Release(0);
    Press(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36), Pressed(9)));
}

TEST_F(WhileReturnIsHeld, AGamesFocusReleasesItWithTheNextEvent) {
    EnterGame();
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(kY, 500);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kReleaseKey, "Sent virtualkey [Release] event with code:[36]")));
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(WhileReturnIsHeld, TheEndOfTheProgramSendsNoRelease) {
    Stop();
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 1);
}

TEST_F(WhileReturnIsHeld, UnpluggingItsPadReleasesIt) {
    platform.Disconnect(kPad);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    const auto keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Released(36)));
    EXPECT_EQ(keys[0].thread, "gamepad-lib");
    EXPECT_THAT(platform.LogLines(), Contains(Info(kReleaseKey, "Sent virtualkey [Release] event with code:[36]")));
}

TEST_F(WhileReturnIsHeld, UnpluggingAnyPadReleasesIt) {
    Plug("second");
    platform.Disconnect("second");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
    Release(0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Press(1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(9)));
}

class WhileLeftIsHeld : public InMenuMode {
protected:
    void SetUp() override {
        InMenuMode::SetUp();
        Plug("second");
        Move(kHatX, -1);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(113)));
    }
};

TEST_F(WhileLeftIsHeld, AnotherPadMayReleaseIt) {
    Move(kHatX, 0, "second");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(113)));
    Move(kHatX, 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(WhileLeftIsHeld, TheHatsOtherSideChangesNothing) {
    Move(kHatX, 1);
    Move(kHatX, 2);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(kHatX, 0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(113)));
}

TEST_F(WhileLeftIsHeld, TheOtherHatAxisIsDropped) {
    Move(kHatY, -1);
    Move(kHatY, 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckRelease,
                                                   "Ignore invalid gamepad key event! "
                                                   "pressed:KeyType[3]KeyCode=[10]current:KeyType[3]KeyCode[11]")));
}

class WhileTheLeftStickIsHeldRight : public InMenuMode {
protected:
    void SetUp() override {
        InMenuMode::SetUp();
        Plug("second");  // thresholds 16383 and -16384
        Move(kX, 255);
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(114)));
    }
};

TEST_F(WhileTheLeftStickIsHeldRight, AnUnknownAxisIsDropped) {
    Move(2, 0);
    EXPECT_THAT(platform.LogLines(), Contains(Info(kCheckRelease,
                                                   "Ignore invalid gamepad key event! "
                                                   "pressed:KeyType[3]KeyCode=[0]current:KeyType[3]KeyCode[2]")));
    EXPECT_THAT(platform.KeysDown(), ElementsAre(114));
}

TEST_F(WhileTheLeftStickIsHeldRight, AnotherPadIsMeasuredByItsOwnThresholds) {
    Move(kX, 16384, "second");
    Move(kX, -16385, "second");
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    Move(kX, 16383, "second");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(114)));
}

TEST_F(WhileTheLeftStickIsHeldRight, TheRightStickIsDropped) {
    Move(kRx, 32767);
    Move(kRx, 0);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

// Outside menu mode.

TEST_F(InMenuMode, AGameGetsTheButtonsForItself) {
    EnterGame();
    Press(0);
    Release(0);
    Press(11);
    Move(kX, 255);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("[Menu Mode]Get a event"))));
    LeaveGame();
    Press(0);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

// The game hub's status and button 398.

struct StatusKey {
    int status;
    int key;
    const char* name;
};
void PrintTo(const StatusKey& one, std::ostream* out) {
    *out << "status " << one.status;
}
constexpr StatusKey kStatusKeys[] = {
    {0, 71, "PLAYDECK_STATUS_NOT_EXIST"},          {1, 572, "PLAYDECK_STATUS_NO_CLOUDGAME_RUNNING"},
    {2, 572, "PLAYDECK_STATUS_CLOUDGAME_RUNNING"}, {1000, 572, "PLAYDECK_STATUS_CLOUDGAME_RUNNING"},
    {5, 572, "PLAYDECK_STATUS_CLOUDGAME_RUNNING"}, {-1, 572, "PLAYDECK_STATUS_CLOUDGAME_RUNNING"}};

class TheGameHub : public ServiceTest, public testing::WithParamInterface<StatusKey> {};

TEST_P(TheGameHub, DecidesButton398FromTheStart) {
    platform.SetInt(kPlaydeckStatus, GetParam().status);
    Start();
    Press(398);
    Release(398);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(GetParam().key), Released(GetParam().key)));
}

TEST_P(TheGameHub, DecidesButton398AfterAChange) {
    platform.SetInt(kPlaydeckStatus, GetParam().status == 0 ? 1 : 0);
    Start();
    Change(kPlaydeckStatus, GetParam().status);
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("GamepadRemoteController.cpp: PlaydeckStatusChangeCallback",
                              "Playdeck status is changed to[" + std::string(GetParam().name) + "]")));
    Press(398);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(GetParam().key)));
}
INSTANTIATE_TEST_SUITE_P(EachStatus, TheGameHub, ValuesIn(kStatusKeys));

TEST_F(InMenuMode, AChangeWhile398IsHeldStillReleasesThePressedKey) {
    Press(398);
    Change(kPlaydeckStatus, 1);
    Release(398);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(71), Released(71)));
}

TEST_F(InMenuMode, TheHubsChangesArriveOnTheMainThread) {
    Change(kPlaydeckStatus, 1);
    const auto mainThread = platform.Calls("VirtualKey_Initialize").at(0).tid;
    EXPECT_EQ(platform.Calls("vconf_keynode_get_int").at(0).tid, mainThread);
}

// Start and end.

TEST_F(ServiceTest, TheTranslatorStartsInOrder) {
    Start();
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"I: [Initialize]enter", "VirtualKey_Initialize(\"gamepad-service\")",
                                   "vconf_notify_key_changed(\"memory/accessory/playnest_status\", ptr, ptr)",
                                   "vconf_get_int(\"memory/accessory/playnest_status\")",
                                   "I: RegisterCombinationKey with [10, -1], [11, 74], holdtime[1000ms], "
                                   "combined_vk[124]",
                                   "I: [Initialize]exit"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kInitialize, "[Initialize]enter")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kInitialize, "[Initialize]exit")));
    EXPECT_EQ(platform.CallCount("VirtualKey_Initialize"), 1);
}

TEST_F(ServiceTest, TheTranslatorEndsInOrder) {
    Start();
    Stop();
    EXPECT_THAT(platform.Timeline(),
                HasInOrder(Entries{"gamepad_close()", "I: [DeInitialize]enter", "VirtualKey_Finalize()",
                                   "vconf_ignore_key_changed(\"memory/accessory/playnest_status\", "
                                   "ptr)",
                                   "I: [DeInitialize]exit"}));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kDeInitialize, "[DeInitialize]enter")));
    EXPECT_THAT(platform.LogLines(), Contains(Info(kDeInitialize, "[DeInitialize]exit")));
    EXPECT_EQ(platform.CallCount("VirtualKey_Finalize"), 1);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(ServiceTest, TheTranslatorsLifeIsLogged) {
    Start();
    Stop();
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("GamepadRemoteController.cpp: GamepadRemoteController", "Constructor is called")));
    EXPECT_THAT(platform.LogLines(),
                Contains(Info("GamepadRemoteController.cpp: ~GamepadRemoteController", "Destructor is called")));
}

class AnyAnswerButOne : public ServiceTest, public testing::WithParamInterface<int> {};

TEST_P(AnyAnswerButOne, OfTheKeyLibraryEndsTheStart) {
    platform.Return("VirtualKey_Initialize", GetParam());
    const std::string message = "Call[VirtualKey_Initialize]err[" + std::to_string(GetParam()) + "]";
    platform.ExpectError(message);
    platform.ExpectError("Call[Initialize]err");
    service.emplace(platform);
    EXPECT_EQ(service->WaitForEnd(), -1);
    EXPECT_THAT(platform.LogLines(), Contains(Error(kInitialize, message)));
    EXPECT_THAT(platform.LogMessages(), Contains("Call[m_oRemoteController.Initialize()]err"));
    EXPECT_THAT(platform.LogMessages(), Not(Contains("[Initialize]exit")));
    EXPECT_THAT(platform.LogMessages(), Not(Contains(StartsWith("RegisterCombinationKey"))));
    EXPECT_EQ(platform.CallCount("vconf_notify_key_changed"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_open_for_custom_mode"), 0);
}
INSTANTIATE_TEST_SUITE_P(EachOfThree, AnyAnswerButOne, testing::Values(0, -3, 2));

TEST_F(ServiceTest, AnUnwatchableHubStatusIsOnlyLogged) {
    platform.FailOn("vconf_notify_key_changed");
    platform.AllowViolations();  // at the end it leaves what it never watched
    Start();
    EXPECT_THAT(platform.LogMessages(), Contains("RegisterPlaydeckStatusCallback Err"));
    Press(398);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(71)));
}

TEST_F(ServiceTest, AnUnreadableHubStatusCountsAsNoHub) {
    platform.SetInt(kPlaydeckStatus, 1);
    platform.FailOn("vconf_get_int");
    Start();
    EXPECT_THAT(platform.LogMessages(), Contains("Get vconf [memory/accessory/playnest_status] value failed."));
    Press(398);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(71)));
}

// Two threads at once.

TEST_F(TheTranslatorAlone, SendsAReleaseThatTwoThreadsWantOnce) {
    constexpr int kRounds = 500;
    for (int round = 0; round < kRounds; ++round) {
        Send(1, 0, 1);
        std::atomic<int> ready{0};
        const auto meet = [&ready] {
            for (++ready; ready < 2;) {
                std::this_thread::yield();
            }
        };
        std::thread unplugging([&] {
            meet();
            controller.ReleaseVirtualKey();
        });
        meet();
        Send(1, 0, 0);
        unplugging.join();
        ASSERT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36), Released(36)));
    }
}

TEST_F(TheTranslatorAlone, NeverPressesAKeyThatIsStillDown) {
    std::atomic<bool> done{false};
    std::thread unplugging([&] {
        while (!done) {
            controller.ReleaseVirtualKey();
        }
    });
    for (int round = 0; round < 500; ++round) {
        Send(1, round % 3, 1);
        Send(1, round % 3, 0);
    }
    done = true;
    unplugging.join();
    controller.ReleaseVirtualKey();
    EXPECT_THAT(platform.KeysDown(), IsEmpty());
    EXPECT_THAT(platform.TakeViolations(), IsEmpty());
}

}  // namespace
