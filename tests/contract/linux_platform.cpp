#include <linux/input.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "pad_testbed.h"
#include "platform_under_test.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNode = 5;

/// The machine has no bus and no display; keys are printed.
void LeaveTheDesktop() {
    for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "SWAYSOCK", "I3SOCK"}) {
        unsetenv(name);
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus", 1);
    setenv("QUORVEX_KEYS", "print", 1);
    setenv("QUORVEX_STORE_QUERY", QUERY_PROGRAM, 1);
}

}  // namespace

struct PlatformUnderTest::Surroundings {
    Surroundings() {
        LeaveTheDesktop();
        if (mkdtemp(root.data()) == nullptr) {
            throw std::runtime_error("no directory for the test");
        }
        for (const char* const name : {"XDG_RUNTIME_DIR", "XDG_STATE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                       "XDG_DATA_DIRS", "XDG_CACHE_HOME"}) {
            fs::create_directory(root + "/" + name);
            setenv(name, (root + "/" + name).c_str(), 1);
        }
    }
    ~Surroundings() { fs::remove_all(root); }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    std::string root = fs::temp_directory_path() / "contract-XXXXXX";
    PadTestbed pads;
};

PlatformUnderTest::PlatformUnderTest() : surroundings_(std::make_unique<Surroundings>()) {}
PlatformUnderTest::~PlatformUnderTest() = default;

void PlatformUnderTest::PlugPad() {
    surroundings_->pads.Plug(kNode, StandardPad());
}
void PlatformUnderTest::UnplugPad() {
    surroundings_->pads.Unplug(kNode);
}
void PlatformUnderTest::PressAndRelease() {
    surroundings_->pads.Send(kNode, EV_KEY, BTN_SOUTH, 1);
    surroundings_->pads.Send(kNode, EV_KEY, BTN_SOUTH, 0);
}
void PlatformUnderTest::Install(const std::string& title) {
    const std::string folder = surroundings_->root + "/XDG_DATA_HOME/applications";
    fs::create_directories(folder);
    std::ofstream(folder + "/known.desktop") << "[Desktop Entry]\nType=Application\nExec=true\nName=" << title << "\n";
}
