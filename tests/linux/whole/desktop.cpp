#include "desktop.h"

#include <cstdlib>

Desktop::Desktop() {
    games_.Start();
    system_bus_.Start();
    logind_ = std::make_unique<MockedLogind>();
    server_.Start();
    StartManager();
    StartSaver();
}

Environment Desktop::Variables() const {
    Environment variables;
    for (const char* const name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS", "DISPLAY"}) {
        variables[name] = std::getenv(name);
    }
    return variables;
}

void Desktop::StartSaver() {
    saver_ = std::make_unique<Program>(std::vector<std::string>{"mate-screensaver", "--no-daemon"});
    ASSERT_TRUE(WaitUntil([] {
        return OutputOf(
                   "gdbus call --session --dest org.freedesktop.DBus --object-path / --method "
                   "org.freedesktop.DBus.NameHasOwner org.mate.ScreenSaver") == "(true,)";
    }));
}

void Desktop::ShowSaver() {
    OutputOf(
        "gdbus call --session --dest org.mate.ScreenSaver --object-path /org/mate/ScreenSaver --method "
        "org.mate.ScreenSaver.SetActive true");
}
