#include "private_sway.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

// sway takes the first free name in its runtime directory.
PrivateSway::PrivateSway() {
    char name[] = "/tmp/quorvex-sway-XXXXXX";
    if (mkdtemp(name) == nullptr) {
        throw std::runtime_error("no directory for sway");
    }
    directory_ = name;
    if (geteuid() == 0 && chown(name, kOrdinaryUser, kOrdinaryUser) != 0) {
        throw std::runtime_error("no directory for an ordinary user");
    }
    std::ofstream(directory_ + "/config") << "xwayland disable\n";
    setenv("WAYLAND_DISPLAY", (directory_ + "/wayland-1").c_str(), 1);
    setenv("SWAYSOCK", (directory_ + "/sway.sock").c_str(), 1);
}

PrivateSway::~PrivateSway() {
    Kill();
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("SWAYSOCK");
    std::filesystem::remove_all(directory_);
}

Program::Setting PrivateSway::ClientSetting() const {
    Program::Setting setting;
    setting.isOrdinaryUser = true;
    setting.environment = {{"XDG_RUNTIME_DIR", directory_},
                           {"HOME", directory_},
                           {"WAYLAND_DISPLAY", "wayland-1"},
                           {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"},
                           {"DISPLAY", ""}};
    return setting;
}

void PrivateSway::Start() {
    Program::Setting setting = ClientSetting();
    setting.environment["WAYLAND_DISPLAY"] = "";
    setting.environment["WLR_BACKENDS"] = "headless";
    setting.environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
    setting.environment["WLR_RENDERER"] = "pixman";
    setting.output = directory_ + "/sway.log";
    sway_ = std::make_unique<Program>(std::vector<std::string>{"sway", "-c", directory_ + "/config"}, setting);
    const auto answers = [] { return OutputOf("swaymsg -t get_outputs -r").find("HEADLESS-1") != std::string::npos; };
    if (!WaitUntil(answers)) {
        throw std::runtime_error("sway did not start: " + OutputOf("tail -3 " + directory_ + "/sway.log"));
    }
}

void PrivateSway::Kill() {
    sway_.reset();
    for (const char* name : {"/wayland-1", "/wayland-1.lock", "/sway.sock"}) {
        unlink((directory_ + name).c_str());
    }
}
