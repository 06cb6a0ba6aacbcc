// Restarts of the buses and displays while everything is subscribed. Each program takes 60 restarts, or as many as
// QUORVEX_RESTARTS says.

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include "../aul/heard.h"
#include "../aul/keyboard_double.h"
#include "../games/service_callback.h"
#include "../games/temporary_folder.h"
#include "../screensaver/saver_session.h"
#include "footprint.h"
#include "gamepad/connected_pads.h"
#include "own_settings.h"
#include "platform/device_power.h"
#include "platform/screensaver.h"
#include "private_sway.h"
#include "private_x_server.h"

namespace {

constexpr int kWarmUp = 5;  // what is made once, is made by then

int Restarts() {
    const char* restarts = std::getenv("QUORVEX_RESTARTS");
    return restarts != nullptr ? std::atoi(restarts) : 60;
}

bool IsOurs(sd_bus* bus, const char* name) {
    sd_bus_creds* owner = nullptr;
    pid_t pid = 0;
    const bool isKnown =
        sd_bus_get_name_creds(bus, name, SD_BUS_CREDS_PID, &owner) >= 0 && sd_bus_creds_get_pid(owner, &pid) >= 0;
    sd_bus_creds_unref(owner);
    return isKnown && pid == getpid();
}

/// How many connections this process has to the bus, without the one that asks.
int OwnConnections(int (*open)(sd_bus**)) {
    sd_bus* bus = nullptr;
    char** names = nullptr;
    int count = -1;
    if (open(&bus) >= 0 && sd_bus_list_names(bus, &names, nullptr) >= 0) {
        for (char** name = names; *name != nullptr; ++name) {
            count += **name == ':' && IsOurs(bus, *name) ? 1 : 0;
            std::free(*name);
        }
    }
    std::free(names);
    sd_bus_flush_close_unref(bus);
    return count;
}

void OnStandby(_device_poweroff_info* /*info*/, void* /*unused*/) {}

/// A session whose buses run, with everything subscribed and a game that has the focus while no display tells of any.
class AStorm : public SaverSession {
protected:
    AStorm() {
        pad_->node = folder_.Write("event3", "");
        gamepad::ConnectedPads().Add(pad_, "pad");
        StartBuses();
    }
    ~AStorm() override { gamepad::ConnectedPads().Clear(); }

    void Subscribe() {
        before_ = OpenDescriptors();
        game_ = std::make_unique<Child>(ReaderOf(pad_->node));
        ASSERT_EQ(gamepad_register_gameapp_status_callback(TellNotice, &games_), 1);
        ASSERT_TRUE(games_.WaitForAll({Opened(*game_)}));
        heard_.Listen();
        ASSERT_EQ(device_power_subscribe_standby_event(OnStandby, nullptr), 0);
        Watch();
        GameHasFocus();
    }
    void StartBuses() {
        sessionBus_.Start();
        systemBus_.Start();
    }
    void KillBuses() {
        sessionBus_.Kill();
        systemBus_.Kill();
    }
    void GameHasFocus() { ASSERT_TRUE(heard_.WaitFor(game_->Pid(), kFocus)); }
    void DisplayTellsOfNoFocus() { ASSERT_TRUE(heard_.WaitFor(0, kFocus)); }

    /// `restart` leaves everything connected.
    template <typename Restart>
    void Pass(const Restart& restart) {
        for (int i = 0; i < Restarts() + kWarmUp; ++i) {
            ASSERT_NO_FATAL_FAILURE(restart()) << "restart " << i;
            ASSERT_TRUE(ThreadEnds("platform-x11"));
            if (i >= kWarmUp) {
                footprints_.Take();
            }
        }
        std::cout << footprints_.Text() << std::endl;
        EXPECT_TRUE(footprints_.AreFlat());
        EXPECT_EQ(OwnConnections(sd_bus_open_system), 1);
    }

    void TearDown() override {
        Heard::Stop();
        gamepad_unregister_gameapp_status_callback(TellNotice);
        device_power_unsubscribe_standby_event(OnStandby);
        SaverSession::TearDown();
        game_.reset();
        EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() == before_; })) << "a try to connect ends by itself";
    }

    TemporaryFolder folder_;
    const gamepad::PadPointer pad_ = std::make_shared<gamepad::Pad>();
    std::unique_ptr<Child> game_;
    Told<Notice> games_;
    Heard heard_;
    size_t before_ = 0;
    Footprints footprints_{static_cast<size_t>(Restarts())};
};

TEST_F(AStorm, OfBusesLeavesNothingBehind) {
    PrivateXServer server;
    server.Start();
    Subscribe();
    DisplayTellsOfNoFocus();
    std::unique_ptr<KeyboardDouble> keyboard;
    Pass([&] {
        KillBuses();
        if (keyboard != nullptr) {
            ASSERT_TRUE(heard_.WaitFor(getpid(), kHidden));
        }
        heard_.Forget();
        StartBuses();
        keyboard = std::make_unique<KeyboardDouble>(true);
        keyboard->Own();
        keyboard->Serve();
        ASSERT_TRUE(heard_.WaitFor(getpid(), kShown));
        ASSERT_TRUE(WaitUntil([] { return OwnConnections(sd_bus_open_system) == 1; }));
    });
    EXPECT_EQ(OwnConnections(sd_bus_open_user), 2) << "ours, and the keyboard's";
    keyboard.reset();
    server.Kill();
}

TEST_F(AStorm, OfXServersLeavesNothingBehind) {
    PrivateXServer server;
    Subscribe();
    Pass([&] {
        server.Kill();
        GameHasFocus();
        ASSERT_TRUE(State() != 1 || BecomesOff());
        heard_.Forget();
        server.Start();
        DisplayTellsOfNoFocus();
        OutputOf("xset s activate");
        ASSERT_TRUE(BecomesOn());
    });
    EXPECT_EQ(OwnConnections(sd_bus_open_user), 1);
    server.Kill();
}

TEST_F(AStorm, OfSwaysLeavesNothingBehind) {
    PrivateSway sway;
    Subscribe();
    Pass([&] {
        sway.Kill();
        GameHasFocus();
        heard_.Forget();
        sway.Start();
        DisplayTellsOfNoFocus();
        EXPECT_EQ(screensaver_reset(), 0);
        ASSERT_TRUE(
            WaitUntil([] { return OutputOf("swaymsg -t get_inputs -r").find("virtual") != std::string::npos; }));
    });
    sway.Kill();
}

}  // namespace
