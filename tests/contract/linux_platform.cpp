#include <linux/input.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

#include "../linux/device_power/power_session.h"
#include "../linux/games/gamemode_daemon.h"
#include "pad_testbed.h"
#include "platform/vconf.h"
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

/// Buses with GameMode, a screensaver and logind.
struct Session {
    Session() {
        games.Start();
        systemBus.Start();
        logind = std::make_unique<MockedLogind>();
        screensaver = std::make_unique<Program>(std::vector<std::string>{
            "/usr/bin/python3", "-m", "dbusmock", "--session", "--template", "gnome_screensaver"});
    }
    static std::string CallScreensaver(const std::string& methodAndArguments) {
        return OutputOf(
            "gdbus call --session --dest org.gnome.ScreenSaver --object-path /org/gnome/ScreenSaver --method "
            "org.gnome.ScreenSaver." +
            methodAndArguments);
    }

    GameModeDaemon games;
    std::vector<Child> openGames;
    PrivateBus systemBus{"DBUS_SYSTEM_BUS_ADDRESS"};
    std::unique_ptr<MockedLogind> logind;
    std::unique_ptr<Program> screensaver;
};

void Nothing(keynode_t* /*node*/, void* /*unused*/) {}

// After a reset they stay in use for a while, on the buses of that test, unless their state is watched no more.
void EndUseOfScreensavers() {
    constexpr char kState[] = "memory/window_system/screensaver_on_off";
    vconf_notify_key_changed(kState, Nothing, nullptr);
    vconf_ignore_key_changed(kState, Nothing);
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
    ~Surroundings() {
        EndUseOfScreensavers();
        fs::remove_all(root);
    }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    std::string root = fs::temp_directory_path() / "contract-XXXXXX";
    PadTestbed pads;
    std::unique_ptr<Session> session;
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
void PlatformUnderTest::StartSession() {
    surroundings_->session = std::make_unique<Session>();
}
void PlatformUnderTest::OpenGame() {
    surroundings_->session->openGames.push_back(surroundings_->session->games.Game());
}
// What is told holds the machine awake for that long, and is connected once it does.
void PlatformUnderTest::EnterStandby() {
    MockedLogind::AnnounceSleep(false);
    WaitUntil([] { return MockedLogind::Inhibitors() == 1; });
    MockedLogind::AnnounceSleep(true);
}
void PlatformUnderTest::ShowScreensaver() {
    WaitUntil([] { return Session::CallScreensaver("GetActive")[0] == '('; });
    Session::CallScreensaver("SetActive true");
}
