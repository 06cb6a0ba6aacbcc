#pragma once

#include <memory>

#include "../aul/window.h"
#include "../device_power/power_session.h"
#include "../games/gamemode_daemon.h"
#include "private_bus.h"
#include "private_x_server.h"
#include "whole_program.h"

/// Everything that a session may have, real and running: a session bus with GameMode and a screensaver on it, a system
/// bus with logind, an X server with a window manager.
class Desktop {
public:
    Desktop();

    /// What a program of the session finds in its environment.
    Environment Variables() const;

    PrivateXServer& Server() { return server_; }
    GameModeDaemon& Games() { return games_; }
    PrivateBus& SystemBus() { return system_bus_; }
    void StartManager() { manager_ = std::make_unique<WindowManager>(); }
    void StartSaver();
    static void ShowSaver();

private:
    GameModeDaemon games_;
    PrivateBus system_bus_{"DBUS_SYSTEM_BUS_ADDRESS"};
    PrivateXServer server_;
    std::unique_ptr<MockedLogind> logind_;
    std::unique_ptr<WindowManager> manager_;
    std::unique_ptr<Program> saver_;
};
