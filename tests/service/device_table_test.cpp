// The table of open pads: what is read when one is opened, which one a disconnection closes, and where a stick counts
// as pushed.

#include <climits>
#include <thread>

#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "running_service.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kX = 0;
constexpr int kY = 1;
constexpr int kRx = 3;
constexpr int kRy = 4;

PadShape AllAxes(int maximum, int minimum) {
    const AxisRange range{maximum, minimum};
    return {{{kX, range}, {kY, range}, {kRx, range}, {kRy, range}}, true};
}

class TheDeviceTable : public RunningService {
protected:
    void Unplug(const std::string& uid) {
        platform.Disconnect(uid);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
    int DestroyMessages() const {
        int count = 0;
        for (const std::string& message : platform.LogMessages()) {
            count += message.rfind("Device with id [", 0) == 0 ? 1 : 0;
        }
        return count;
    }
    /// The devices of one whole pass that begins from now on, in the order of their polling.
    Texts PolledInOnePass(size_t devices) {
        const auto before = static_cast<size_t>(platform.CallCount("gamepad_get_events"));
        EXPECT_TRUE(platform.WaitForCall("gamepad_get_events", static_cast<int>(before + 3 * devices)));
        const std::vector<Call> calls = platform.Calls("gamepad_get_events");
        Texts ids;
        for (size_t i = before; ids.size() < devices && i < calls.size(); ++i) {
            if (!ids.empty() || calls.at(i).arguments.at(0) == "0") {
                ids.push_back(calls.at(i).arguments.at(0));
            }
        }
        return ids;
    }
};

// ---- Opening

TEST_F(TheDeviceTable, OpensAPadAndReadsItsFourStickAxesInOrder) {
    Plug("pad");
    EXPECT_THAT(platform.TimelineOf(kGamepadLibrary),
                ElementsAre("I: Got a device connection change callback! "
                            "type[11](connect:11/disconnect:12)uid[pad]",
                            "gamepad_create_device(\"pad\", ptr)", "is_standard_gamepad(0, ptr)",
                            "gamepad_get_abs_value_range(0, 0)", "gamepad_get_abs_value_range(0, 1)",
                            "gamepad_get_abs_value_range(0, 3)", "gamepad_get_abs_value_range(0, 4)"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: GamepadConnectionChangeCB",
                                "Got a device connection change callback! type[11](connect:11/disconnect:12)uid[pad]"));
}

TEST_F(TheDeviceTable, DoesNotCareWhetherAPadIsStandard) {
    platform.FailAlways("is_standard_gamepad");
    Plug("odd pad", {{{kX, {255, 0}}}, false});
    platform.MoveAxis("odd pad", kX, 192);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(114)));
}

TEST_F(TheDeviceTable, HasNoPlaceForAPadThatCannotBeOpened) {
    platform.FailAlways("gamepad_create_device");
    platform.ExpectError("Call[gamepad_create_device]with[broken pad]err");
    platform.Connect("broken pad");
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_TRUE(platform.Logged(DLOG_ERROR, "GamepadEventDispatcher.cpp: AddGamepadDevice",
                                "Call[gamepad_create_device]with[broken pad]err"));
    EXPECT_EQ(platform.CallCount("is_standard_gamepad"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_get_abs_value_range"), 0);
    ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, runTime.Pauses().size() + 2));
    EXPECT_EQ(platform.CallCount("gamepad_get_events"), 0);
}

TEST_F(TheDeviceTable, IgnoresOtherKindsOfNotice) {
    platform.AddPad("pad");
    for (const int type : {0, 10, 13, -1}) {
        platform.SendConnectionNotice(type, "pad");
    }
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_TRUE(platform.Logged(DLOG_INFO,
                                "Got a device connection change callback! type[13](connect:11/disconnect:12)uid[pad]"));
    EXPECT_EQ(platform.CallCount("gamepad_create_device"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 0);
}

TEST_F(TheDeviceTable, HasRoomForManyPads) {
    constexpr int kPads = 70;
    for (int i = 0; i < kPads; ++i) {
        platform.Connect("pad " + std::to_string(i));
    }
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(platform.OpenDevices().size(), static_cast<size_t>(kPads));
    platform.PressButton("pad 69", 1);
    ASSERT_TRUE(platform.WaitForKeys(1));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(9)));
    EXPECT_EQ(PolledInOnePass(kPads).back(), "69");
}

// ---- Closing

TEST_F(TheDeviceTable, ClosesAPadThatLeaves) {
    Plug("pad");
    Unplug("pad");
    EXPECT_THAT(platform.CallTexts("gamepad_destroy_device"), ElementsAre("gamepad_destroy_device(0)"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: RemoveGamepadDevice",
                                "Device with id [0] is destroyed"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO,
                                "Got a device connection change callback! type[12](connect:11/disconnect:12)uid[pad]"));
    const int polls = platform.CallCount("gamepad_get_events");
    ASSERT_TRUE(runTime.WaitForPauses(kDispatcherThread, runTime.Pauses().size() + 2));
    EXPECT_EQ(platform.CallCount("gamepad_get_events"), polls);
}

TEST_F(TheDeviceTable, LogsTheIdOfThePadThatMovedUp) {
    Plug("first");
    Plug("second");
    Plug("third");
    Unplug("second");
    EXPECT_THAT(platform.CallTexts("gamepad_destroy_device"), ElementsAre("gamepad_destroy_device(1)"));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Device with id [2] is destroyed"));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Device with id [1] is destroyed"));
}

TEST_F(TheDeviceTable, LogsTheIdOfTheLastPadItself) {
    Plug("first");
    Plug("second");
    Plug("third");
    Unplug("third");
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Device with id [2] is destroyed"));
    EXPECT_EQ(DestroyMessages(), 1);
}

TEST_F(TheDeviceTable, KeepsTheOrderOfThePadsThatStay) {
    for (const char* const uid : {"a", "b", "c", "d"}) {
        Plug(uid);
    }
    EXPECT_THAT(PolledInOnePass(4), ElementsAre("0", "1", "2", "3"));
    Unplug("b");
    EXPECT_THAT(PolledInOnePass(3), ElementsAre("0", "2", "3"));
    Plug("e");
    EXPECT_THAT(PolledInOnePass(4), ElementsAre("0", "2", "3", "1"));
}

TEST_F(TheDeviceTable, TakesTheSameUidTwiceAndClosesOnlyTheFirst) {
    Plug("twin");
    platform.Connect("twin");
    ASSERT_TRUE(platform.WaitForOpenPad("twin", 2));
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    Unplug("twin");
    EXPECT_THAT(platform.OpenDevices(), ElementsAre(1));
    Unplug("twin");
    EXPECT_THAT(platform.OpenDevices(), IsEmpty());
}

TEST_F(TheDeviceTable, DestroysNothingForAnUnknownUid) {
    Plug("pad");
    Unplug("stranger");
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 0);
    EXPECT_EQ(DestroyMessages(), 0);
}

TEST_F(TheDeviceTable, ComparesWholeUids) {
    Plug("pad 12");
    Unplug("pad 1");
    Unplug("pad 123");
    Unplug("PAD 12");
    EXPECT_THAT(platform.OpenDevices(), ElementsAre(0));
}

TEST_F(TheDeviceTable, ClosesAllPadsInOrderAtTheEnd) {
    Plug("a");
    Plug("b");
    Plug("c");
    Unplug("a");
    platform.ForgetLog();
    ASSERT_EQ(process->Stop(), 0);
    EXPECT_THAT(platform.CallTexts("gamepad_destroy_device"),
                ElementsAre("gamepad_destroy_device(0)", "gamepad_destroy_device(1)", "gamepad_destroy_device(2)"));
    EXPECT_THAT(PlacesOf(platform, "Device with id [1] is destroyed"),
                ElementsAre("GamepadEventDispatcher.cpp: m_DestroyAllGamepadDevices"));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, "Device with id [2] is destroyed"), 1);
    EXPECT_EQ(platform.Calls("gamepad_destroy_device").back().thread, kDispatcherThread);
}

// ---- A held key

class WhileAKeyIsHeld : public TheDeviceTable {
protected:
    void SetUp() override {
        TheDeviceTable::SetUp();
        Plug("pad");
        platform.PressButton("pad", 0);
        ASSERT_TRUE(platform.WaitForKeys(1));
        ASSERT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    }
};

TEST_F(WhileAKeyIsHeld, ItsPadLeavingReleasesItOnTheLibrarysThread) {
    Unplug("pad");
    EXPECT_THAT(platform.KeysDown(), IsEmpty());
    const std::vector<SentKey> keys = platform.TakeKeys();
    ASSERT_THAT(keys, ElementsAre(Released(36)));
    EXPECT_EQ(keys.at(0).thread, kGamepadLibrary);
    EXPECT_THAT(platform.TimelineOf(kGamepadLibrary),
                ContainsInOrder(Texts{"gamepad_destroy_device(0)", "I: Device with id [0] is destroyed",
                                      "VirtualKey_Send_KeyCode(36, 0)"}));
}

TEST_F(WhileAKeyIsHeld, AnUnknownPadLeavingReleasesItToo) {
    Unplug("stranger");
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
    EXPECT_THAT(platform.OpenDevices(), ElementsAre(0));
}

TEST_F(WhileAKeyIsHeld, APadComingReleasesNothing) {
    Plug("other");
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

// The release needs neither the device lock nor the menu-mode lock, which the dispatcher holds here.
TEST_F(WhileAKeyIsHeld, TheReleaseWaitsForNoEventThatIsBeingHandled) {
    Plug("leaving");
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", [hook = door.CallHook()](const Call& call) {
        if (call.thread == kDispatcherThread) {
            hook(call);
        }
    });
    platform.SetInt("memory/accessory/playnest_status", 0);
    platform.PressButton("pad", 14);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.Disconnect("leaving");
    EXPECT_FALSE(platform.WaitUntilNoticesTold(kForAWhile));  // the pass is not over
    door.Open();
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Tapped(71), Released(36)));
}

TEST_F(WhileAKeyIsHeld, TheReleaseWaitsForNoSwitchOfMenuMode) {
    Door door;
    platform.OnMessage("Menu Mode has started already!", door.Hook());
    std::thread switching([] { Singleton<GamepadEventDispatcher>::GetInstance()->StartMenuMode(); });
    EXPECT_TRUE(door.WaitForVisitor());  // the menu-mode lock is held
    platform.Disconnect("stranger");
    EXPECT_TRUE(platform.WaitForKeys(1));
    door.Open();
    switching.join();
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
}

// ---- Locks

TEST_F(TheDeviceTable, AConnectionWaitsForTheEndOfThePassAndNoLonger) {
    Plug("first");
    Door door;
    platform.OnCall("gamepad_get_events", door.CallHook("0"));
    ASSERT_TRUE(door.WaitForVisitor());
    platform.Connect("second");
    ASSERT_TRUE(platform.WaitForCall("gamepad_get_abs_value_range", 8));  // it is opened during the pass,
    EXPECT_FALSE(platform.WaitUntilNoticesTold(kForAWhile));              // but not entered
    door.Open();
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(PolledInOnePass(2), ElementsAre("0", "1"));
}

TEST_F(TheDeviceTable, ADisconnectionWaitsForTheEndOfThePass) {
    Plug("pad");
    Door door;
    platform.OnCall("gamepad_get_events", door.CallHook("0"));
    ASSERT_TRUE(door.WaitForVisitor());
    platform.Disconnect("pad");
    EXPECT_FALSE(platform.WaitForCall("gamepad_destroy_device", 1, kForAWhile));
    door.Open();
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 1);
}

TEST_F(TheDeviceTable, APadThatOpensSlowlyHoldsUpNoOther) {
    Plug("quick");
    for (const char* const function : {"gamepad_create_device", "is_standard_gamepad", "gamepad_get_abs_value_range"}) {
        Door door;
        platform.OnCall(function, door.CallHook());
        platform.Connect(std::string("slow in ") + function);
        ASSERT_TRUE(door.WaitForVisitor());
        platform.PressButton("quick", 0);
        platform.ReleaseButton("quick", 0);
        EXPECT_TRUE(platform.WaitForKeys(2)) << function;
        platform.TakeKeys();
        door.Open();
        platform.OnCall(function, {});
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
}

// ---- Long uids

struct Length {
    size_t length;
    bool isCut;
};

class AUid : public TheDeviceTable, public testing::WithParamInterface<Length> {};

TEST_P(AUid, IsKeptUpTo255Characters) {
    const std::string uid(GetParam().length, 'u');
    const std::string kept = uid.substr(0, 255);
    Plug(uid);
    EXPECT_THAT(platform.CallTexts("gamepad_create_device"),
                ElementsAre("gamepad_create_device(\"" + kept + "\", ptr)"));
    platform.SendConnectionNotice(GAMEPAD_DISCONNECTED, uid);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_EQ(platform.OpenDevices().size(), GetParam().isCut ? 1U : 0U);
    platform.SendConnectionNotice(GAMEPAD_DISCONNECTED, kept);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
    EXPECT_THAT(platform.OpenDevices(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfAnyLength, AUid,
                         testing::Values(Length{0, false}, Length{1, false}, Length{254, false}, Length{255, false},
                                         Length{256, true}, Length{300, true}, Length{511, true}),
                         [](const auto& test) { return "Of" + std::to_string(test.param.length) + "Characters"; });

TEST_F(TheDeviceTable, NamesTheWholeUidOfAPadThatCannotBeOpened) {
    const std::string uid(300, 'u');
    platform.FailAlways("gamepad_create_device");
    platform.ExpectError("Call[gamepad_create_device]with[" + uid + "]err");
    platform.Connect(uid);
    ASSERT_TRUE(platform.WaitUntilNoticesTold());
}

// ---- Pads that are connected at the start

class AtTheStart : public WholeProgram {
protected:
    void Run() {
        process = std::make_unique<ServiceProcess>(platform);
        ASSERT_TRUE(process->WaitUntilRunning());
    }
    static std::string Place() { return "GamepadEventDispatcher.cpp: m_EnumerateAllGamepadDevices"; }

    std::unique_ptr<ServiceProcess> process;
};

TEST_F(AtTheStart, NoPadIsConnected) {
    Run();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "The connected device count is 0"));
    EXPECT_EQ(platform.CallCount("gamepad_get_connected_device_Info"), 0);
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Total get [0] gamepad device"));
}

TEST_F(AtTheStart, EveryConnectedPadIsOpenedInOrder) {
    platform.AddPad("a");
    platform.AddPad("b");
    platform.AddPad("c");
    Run();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "Total get [3] gamepad device"));
    EXPECT_THAT(
        platform.CallTexts("gamepad_get_connected_device_Info"),
        ElementsAre("gamepad_get_connected_device_Info(ptr, ptr, 0)", "gamepad_get_connected_device_Info(ptr, ptr, 1)",
                    "gamepad_get_connected_device_Info(ptr, ptr, 2)"));
    EXPECT_EQ(platform.DeviceId("a"), 0);
    EXPECT_EQ(platform.DeviceId("c"), 2);
    EXPECT_EQ(platform.Calls("gamepad_create_device").at(0).thread, kDispatcherThread);
}

TEST_F(AtTheStart, APadThatCannotBeDescribedIsLeftOut) {
    platform.AddPad("a");
    platform.AddPad("b");
    platform.AddPad("c");
    platform.FailOn("gamepad_get_connected_device_Info", 2);
    Run();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "error in getting gamepad info with id [1]"));
    EXPECT_EQ(platform.DeviceId("b"), -1);
    EXPECT_EQ(platform.DeviceId("c"), 1);
}

TEST_F(AtTheStart, APadThatCannotBeOpenedIsLeftOut) {
    platform.AddPad("a");
    platform.AddPad("b");
    platform.FailOn("gamepad_create_device", 1);
    platform.ExpectError("Call[gamepad_create_device]with[a]err");
    Run();
    EXPECT_EQ(platform.DeviceId("b"), 0);
}

TEST_F(AtTheStart, ANegativeCountOpensNothing) {
    platform.AddPad("a");
    platform.SetPadCount(-1);
    Run();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, Place(), "Total get [-1] gamepad device"));
    EXPECT_EQ(platform.CallCount("gamepad_get_connected_device_Info"), 0);
}

// ---- Thresholds

struct Range {
    int maximum;
    int minimum;
    int upper;
    int lower;
};
void PrintTo(const Range& range, std::ostream* out) {
    *out << range.maximum << " to " << range.minimum << ": " << range.upper << ", " << range.lower;
}

struct Stick {
    int axis;
    int upperKey;
    int lowerKey;
};
constexpr Stick kSticks[] = {{kX, 114, 113}, {kY, 116, 111}, {kRx, 96, 95}, {kRy, 75, 76}};

class AStick : public TheDeviceTable, public testing::WithParamInterface<Range> {
protected:
    void MoveAll(int axis, const std::vector<int>& positions) {
        for (const int position : positions) {
            platform.MoveAxis("pad", axis, position);
        }
        ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    }
};

TEST_P(AStick, IsPushedBeyondHalfOfTheWayFromTheCentreToEitherEnd) {
    const Range range = GetParam();
    Plug("pad", AllAxes(range.maximum, range.minimum));
    for (const Stick& stick : kSticks) {
        MoveAll(stick.axis, {range.upper, range.upper + 1, range.upper});
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(stick.upperKey), Released(stick.upperKey)))
            << "axis " << stick.axis;
        MoveAll(stick.axis, {range.lower, range.lower - 1, range.lower});
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(stick.lowerKey), Released(stick.lowerKey)))
            << "axis " << stick.axis;
    }
}

INSTANTIATE_TEST_SUITE_P(WithOrdinaryRanges, AStick,
                         testing::Values(Range{32767, -32768, 16383, -16384}, Range{255, 0, 191, 64},
                                         Range{1023, 0, 767, 256}, Range{127, -128, 63, -64}, Range{7, -2, 4, 0},
                                         Range{-2, -7, -3, -5}));
INSTANTIATE_TEST_SUITE_P(WithExtremeRanges, AStick,
                         testing::Values(Range{INT_MAX, INT_MIN, 1073741823, -1073741824},
                                         Range{INT_MAX, 0, 1610612735, 536870912},
                                         Range{0, INT_MIN, -536870912, -1610612736},
                                         Range{INT_MAX, INT_MAX - 1, INT_MAX - 1, INT_MAX - 1},
                                         Range{INT_MIN + 2, INT_MIN + 1, INT_MIN + 2, INT_MIN + 2}));
INSTANTIATE_TEST_SUITE_P(WithNarrowRanges, AStick,
                         testing::Values(Range{0, 0, 0, 0}, Range{1, 0, 0, 0}, Range{3, 0, 2, 1}, Range{-1, -2, -1, -1},
                                         Range{5, 5, 5, 5}));

// The upper test comes first: between the crossed thresholds both hold, and the upper key wins.
class AStickWithAnInvertedRange : public AStick {};

TEST_P(AStickWithAnInvertedRange, IsAlwaysPushed) {
    const Range range = GetParam();
    Plug("pad", AllAxes(range.maximum, range.minimum));
    for (const Stick& stick : kSticks) {
        for (const int position : {range.upper + 1, range.lower}) {
            MoveAll(stick.axis, {position});
            EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(stick.upperKey))) << stick.axis << " " << position;
            Unplug("stranger");  // releases what is held
            platform.TakeKeys();
        }
        MoveAll(stick.axis, {range.upper});
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(stick.lowerKey))) << stick.axis;
        Unplug("stranger");
        platform.TakeKeys();
    }
}

INSTANTIATE_TEST_SUITE_P(WhateverItIs, AStickWithAnInvertedRange,
                         testing::Values(Range{-32768, 32767, -16384, 16383}, Range{0, 255, 64, 191},
                                         Range{INT_MIN, INT_MAX, -1073741824, 1073741823}));

TEST_F(TheDeviceTable, ReadsEachAxisByItself) {
    Plug("pad", {{{kX, {255, 0}}, {kY, {1023, 0}}, {kRx, {32767, -32768}}, {kRy, {7, -2}}}, true});
    const int uppers[] = {191, 767, 16383, 4};
    for (size_t i = 0; i < 4; ++i) {
        platform.MoveAxis("pad", kSticks[i].axis, uppers[i]);
        platform.MoveAxis("pad", kSticks[i].axis, uppers[i] + 1);
        platform.MoveAxis("pad", kSticks[i].axis, uppers[i]);
        ASSERT_TRUE(platform.WaitUntilHandled("pad"));
        EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(kSticks[i].upperKey), Released(kSticks[i].upperKey)));
    }
}

// ---- Ranges that cannot be read

class AnUnreadableAxis : public TheDeviceTable, public testing::WithParamInterface<int> {};

TEST_P(AnUnreadableAxis, KeepsItsThresholdsAtMinusOneAndLeavesTheOthersAlone) {
    const Stick unreadable = kSticks[GetParam()];
    PadShape shape = AllAxes(255, 0);
    shape.ranges.erase(unreadable.axis);
    Plug("pad", shape);
    EXPECT_EQ(platform.CallCount("gamepad_get_abs_value_range"), 4);
    for (const int position : {-1, 0, -1, -2, -1}) {
        platform.MoveAxis("pad", unreadable.axis, position);
    }
    ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(unreadable.upperKey), Released(unreadable.upperKey),
                                                 Pressed(unreadable.lowerKey), Released(unreadable.lowerKey)));
    for (const Stick& stick : kSticks) {
        if (stick.axis != unreadable.axis) {
            platform.MoveAxis("pad", stick.axis, 192);
            platform.MoveAxis("pad", stick.axis, 128);
            ASSERT_TRUE(platform.WaitUntilHandled("pad"));
            EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(stick.upperKey), Released(stick.upperKey)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachStick, AnUnreadableAxis, testing::Range(0, 4));

}  // namespace
