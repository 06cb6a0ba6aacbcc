#pragma once

#include <gtest/gtest.h>

#include <string>

#include "own_settings.h"
#include "platform/vconf.h"
#include "private_bus.h"
#include "program.h"

constexpr char kStateKey[] = "memory/window_system/screensaver_on_off";

/// A session with settings and buses of its own; the system bus is for those who ask logind. No bus is started.
class SaverSession : public testing::Test {
protected:
    /// Ends every use of the screensavers, also that of a reset, before anything else of the test goes.
    void TearDown() override;

    /// Watches the screensaver's state as the service does.
    void Watch();
    void Ignore();
    /// Waits for the notice of the state.
    bool BecomesOn() { return Becomes(1); }
    bool BecomesOff() { return Becomes(0); }
    /// The last notice; -1 before there was one.
    int State() const { return state_; }
    int Notices() const { return notices_; }

    OwnSettings settings_;
    PrivateBus sessionBus_;
    PrivateBus systemBus_{"DBUS_SYSTEM_BUS_ADDRESS"};

private:
    static void OnChange(keynode_t* node, void* self);
    bool Becomes(int state);

    bool isWatching_ = false;
    int state_ = -1;
    int notices_ = 0;
};
