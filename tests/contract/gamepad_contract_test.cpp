#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/gamepad.h"
#include "platform_under_test.h"

namespace {

constexpr int kCapacity = 3;
constexpr int kUnknownDevice = 4711;

/// What a listener was told; it also calls back into the library, as the service does.
struct Told {
    Counter connected;
    Counter disconnected;
    std::mutex lock;
    std::string uid;
    std::thread::id thread;
    std::atomic<int> device{-1};
};

void Note(int type, _gamepad_device_info_s info, void* user) {
    Told& told = *static_cast<Told*>(user);
    {
        const std::lock_guard<std::mutex> hold(told.lock);
        told.uid = info.szUid;
        told.thread = std::this_thread::get_id();
    }
    int device = -1;
    if (type == GAMEPAD_CONNECTED && gamepad_create_device(info.szUid, &device) == 1) {
        told.device = device;
    }
    (type == GAMEPAD_CONNECTED ? told.connected : told.disconnected).Add();
}

class Pads : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1); }
    void TearDown() override { gamepad_close(); }

    /// The pad's device, opened by the listener.
    int OpenPad() {
        EXPECT_EQ(gamepad_register_connection_callback(Note, &told_), 1);
        platform_.PlugPad();
        EXPECT_TRUE(told_.connected.WaitFor(1));
        EXPECT_GE(told_.device, 0);
        return told_.device;
    }
    void LeavePad() {
        EXPECT_EQ(gamepad_destroy_device(told_.device), 1);
        EXPECT_EQ(gamepad_unregister_connection_callback(Note), 1);
    }

    PlatformUnderTest platform_;
    Told told_;
};

TEST_F(Pads, AreToldOfOnAnotherThreadWhenTheyComeAndGo) {
    OpenPad();
    platform_.UnplugPad();
    EXPECT_TRUE(told_.disconnected.WaitFor(1));
    EXPECT_NE(told_.thread, std::this_thread::get_id());
    EXPECT_EQ(told_.connected.Count(), 1);
    LeavePad();
    EXPECT_EQ(told_.disconnected.Count(), 1);
}

TEST_F(Pads, AreListedUnderTheNameThatWasTold) {
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 0);
    OpenPad();
    ASSERT_EQ(gamepad_get_connected_gampad_count(), 1);
    _gamepad_device_info_s info{};
    unsigned char flag = 0;
    EXPECT_EQ(gamepad_get_connected_device_Info(&info, &flag, 0), 1);
    EXPECT_EQ(info.szUid, told_.uid);
    EXPECT_NE(gamepad_get_connected_device_Info(&info, &flag, 1), 1);
    EXPECT_NE(gamepad_get_connected_device_Info(&info, &flag, -1), 1);
    LeavePad();
}

TEST_F(Pads, HaveARangeForEachStickAndNoneForWhatTheyHaveNot) {
    const int device = OpenPad();
    int maximum = 0;
    int minimum = 0;
    EXPECT_EQ(gamepad_get_abs_value_range(device, 0, &maximum, &minimum), 1);
    EXPECT_LT(minimum, 0);
    EXPECT_GT(maximum, 0);
    EXPECT_NE(gamepad_get_abs_value_range(device, 99, &maximum, &minimum), 1);
    bool isStandard = false;
    EXPECT_EQ(is_standard_gamepad(device, &isStandard), 1);
    EXPECT_TRUE(isStandard);
    LeavePad();
}

TEST_F(Pads, GiveNoMoreEventsThanAskedForInTheirOrderAndNeverWait) {
    const int device = OpenPad();
    std::array<_gamepad_event_s, kCapacity + 1> events{};
    int count = kCapacity;
    EXPECT_NE(gamepad_get_events(device, events.data(), &count), 1);
    EXPECT_EQ(count, 0);
    for (int i = 0; i < 4; ++i) {
        platform_.PressAndRelease();
    }
    events[kCapacity].type = -1;
    int read = 0;
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (read < 8 && std::chrono::steady_clock::now() < deadline) {
        count = kCapacity;
        const int result = gamepad_get_events(device, events.data(), &count);
        ASSERT_GE(count, 0);
        ASSERT_LE(count, kCapacity);
        EXPECT_EQ(result == 1, count > 0);
        for (int i = 0; i < count; ++i, ++read) {
            EXPECT_EQ(events.at(static_cast<size_t>(i)).type, 1);
            EXPECT_EQ(events.at(static_cast<size_t>(i)).value, read % 2 == 0 ? 1 : 0);
        }
    }
    EXPECT_EQ(read, 8);
    EXPECT_EQ(events[kCapacity].type, -1);
    LeavePad();
}

TEST_F(Pads, ThatAreUnknownOrNoLongerOpenAreRefused) {
    const int device = OpenPad();
    LeavePad();
    int number = 0;
    bool isStandard = false;
    _gamepad_event_s event{};
    for (const int refused : {device, kUnknownDevice, -1}) {
        int count = 1;
        EXPECT_NE(gamepad_get_events(refused, &event, &count), 1);
        EXPECT_NE(is_standard_gamepad(refused, &isStandard), 1);
        EXPECT_NE(gamepad_get_abs_value_range(refused, 0, &number, &number), 1);
        EXPECT_NE(gamepad_destroy_device(refused), 1);
    }
    EXPECT_NE(gamepad_create_device("nobody", &number), 1);
    EXPECT_NE(gamepad_create_device("", &number), 1);
}

TEST_F(Pads, ThatAreNullAreRefused) {
    int number = 0;
    EXPECT_NE(gamepad_create_device(nullptr, &number), 1);
    EXPECT_NE(gamepad_register_connection_callback(nullptr, nullptr), 1);
    EXPECT_NE(gamepad_unregister_connection_callback(nullptr), 1);
    EXPECT_NE(gamepad_register_gameapp_status_callback(nullptr, nullptr), 1);
    EXPECT_NE(gamepad_unregister_gameapp_status_callback(nullptr), 1);
    EXPECT_NE(gamepad_get_all_gameapp_info_list(nullptr), 1);
}

void NoteOther(int type, _gamepad_device_info_s info, void* user) {
    Note(type, info, user);
}

TEST_F(Pads, AreNotToldOfToWhoHasUnregistered) {
    ASSERT_EQ(gamepad_register_connection_callback(Note, &told_), 1);
    EXPECT_EQ(gamepad_unregister_connection_callback(Note), 1);
    EXPECT_NE(gamepad_unregister_connection_callback(Note), 1);
    Told other;
    ASSERT_EQ(gamepad_register_connection_callback(NoteOther, &other), 1);
    platform_.PlugPad();
    EXPECT_TRUE(other.connected.WaitFor(1));
    EXPECT_EQ(told_.connected.Count(), 0);
    EXPECT_EQ(gamepad_destroy_device(other.device), 1);
    EXPECT_EQ(gamepad_unregister_connection_callback(NoteOther), 1);
}

struct Slow {
    Counter entered;
    std::atomic<bool> isDone{false};
};

void NoteSlowly(int /*type*/, _gamepad_device_info_s /*info*/, void* user) {
    Slow& slow = *static_cast<Slow*>(user);
    slow.entered.Add();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    slow.isDone = true;
}

TEST_F(Pads, AreToldToTheEndBeforeWhoUnregistersGoesOn) {
    Slow slow;
    ASSERT_EQ(gamepad_register_connection_callback(NoteSlowly, &slow), 1);
    platform_.PlugPad();
    ASSERT_TRUE(slow.entered.WaitFor(1));
    EXPECT_EQ(gamepad_unregister_connection_callback(NoteSlowly), 1);
    EXPECT_TRUE(slow.isDone);
}

void UnregisterItself(int /*type*/, _gamepad_device_info_s /*info*/, void* user) {
    EXPECT_EQ(gamepad_unregister_connection_callback(UnregisterItself), 1);
    static_cast<Counter*>(user)->Add();
}

TEST_F(Pads, MayBeLeftWhileOneIsToldOfThem) {
    Counter told;
    ASSERT_EQ(gamepad_register_connection_callback(UnregisterItself, &told), 1);
    platform_.PlugPad();
    EXPECT_TRUE(told.WaitFor(1));
}

void NoteGame(int /*type*/, int /*pid*/, void* user) {
    static_cast<Counter*>(user)->Add();
}

TEST_F(Pads, HaveAListOfGamesThatTheCallerFrees) {
    Counter told;
    EXPECT_EQ(gamepad_register_gameapp_status_callback(NoteGame, &told), 1);
    char* text = nullptr;
    ASSERT_EQ(gamepad_get_all_gameapp_info_list(&text), 1);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "");
    std::free(text);
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(NoteGame), 1);
    EXPECT_NE(gamepad_unregister_gameapp_status_callback(NoteGame), 1);
}

}  // namespace
