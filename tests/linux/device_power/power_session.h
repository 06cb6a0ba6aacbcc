#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "own_settings.h"
#include "platform/device_power.h"
#include "private_bus.h"
#include "program.h"

/// What standby notices have brought. Any thread.
class StandbyNotes {
public:
    /// Give the address as user data. Runs `inside` after noting the state.
    static void Callback(_device_poweroff_info* info, void* self);
    /// The state that was read in each call.
    std::vector<int> States() const;
    bool WaitForCalls(size_t count) const {
        return WaitUntil([&] { return States().size() >= count; });
    }

    std::function<void()> inside;

private:
    mutable std::mutex lock_;
    std::vector<int> states_;
};

/// Settings and buses of the test's own; no bus is started. The subscription ends before anything else.
class PowerSession : public testing::Test {
protected:
    void TearDown() override;

    void Subscribe() { ASSERT_EQ(device_power_subscribe_standby_event(StandbyNotes::Callback, &notes_), 0); }
    static void Unsubscribe() { EXPECT_EQ(device_power_unsubscribe_standby_event(StandbyNotes::Callback), 0); }
    static bool StateBecomes(int state) {
        return WaitUntil([state] { return device_power_get_state() == state; });
    }

    OwnSettings settings_;
    PrivateBus sessionBus_;
    PrivateBus systemBus_{"DBUS_SYSTEM_BUS_ADDRESS"};
    StandbyNotes notes_;
};

/// logind, as far as it is needed, on the system bus.
class MockedLogind {
public:
    MockedLogind();
    static void AnnounceSleep(bool isAsleep);
    static size_t Inhibitors();

private:
    Program daemon_;
};
