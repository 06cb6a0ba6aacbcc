#include "session.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

// The card has no 3D: the server draws by itself.
constexpr char kServerSettings[] = R"(
Section "Device"
    Identifier "card"
    Driver "modesetting"
    Option "AccelMethod" "none"
EndSection
)";

// The screensaver asks for no password at its end.
constexpr char kDesktopSettings[] = R"(
[org/mate/screensaver]
lock-enabled=false
mode='blank-only'
)";

// GameMode changes nothing of the machine, and does nothing about the screensaver.
constexpr char kGameModeSettings[] = R"(
[general]
reaper_freq=5
inhibit_screensaver=0
renice=0
ioprio=off
)";

std::string Write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
    return file;
}

void SetEnvironment(const fs::path& home) {
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
    setenv("XDG_STATE_HOME", (home / "state").c_str(), 1);
    setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home / "cache").c_str(), 1);
    setenv("PATH", "/usr/games:/usr/bin:/bin", 1);
    setenv("TERM", "dumb", 1);
    setenv("DISPLAY", ":0", 1);
    setenv("GSETTINGS_BACKEND", "keyfile", 1);
    setenv("NO_AT_BRIDGE", "1", 1);
}

bool IsOwned(const std::string& name) {
    return OutputOf(
               "gdbus call --session --dest org.freedesktop.DBus --object-path / --method "
               "org.freedesktop.DBus.NameHasOwner " +
               name) == "(true,)";
}

std::unique_ptr<Service> StartInSession(const std::vector<std::string>& command) {
    ServiceOptions options;
    options.environment = SessionEnvironment();
    options.command = command;
    return std::make_unique<Service>(options);
}

std::string Sibling(const char* program) {
    return fs::read_symlink("/proc/self/exe").parent_path() / program;
}

}  // namespace

std::vector<std::string> SessionEnvironment() {
    std::vector<std::string> settings;
    for (char** setting = environ; *setting != nullptr; ++setting) {
        settings.emplace_back(*setting);
    }
    return settings;
}

Window::Window(const std::string& title, const std::vector<std::string>& options,
               const std::vector<std::string>& before) {
    std::vector<std::string> command = before;
    command.insert(command.end(), {Sibling("living_room_window"), title});
    command.insert(command.end(), options.begin(), options.end());
    process_ = StartInSession(command);
    EXPECT_TRUE(WaitForFocus()) << process_->Tail();
}

std::optional<std::string> Window::Prints(const std::string& text) {
    const auto found = process_->Find(text, place_);
    if (!found) {
        return std::nullopt;
    }
    place_ = *found + 1;
    return process_->Line(text, *found).substr(text.size());
}

std::vector<Key> Window::Keys(size_t count) {
    std::vector<Key> keys;
    while (keys.size() < count) {
        const auto line = Prints("key ");
        if (!line) {
            break;
        }
        Key key{};
        std::istringstream(*line) >> key.code >> key.down;
        keys.push_back(key);
    }
    return keys;
}

std::vector<Key> Window::KeysUntilFocusIsLost() {
    const auto lost = process_->Find("no focus", place_);
    std::vector<Key> keys;
    for (auto next = lost; lost && (next = process_->Find("key ", place_, milliseconds(0))) && *next < *lost;) {
        const auto key = Keys(1);
        keys.insert(keys.end(), key.begin(), key.end());
    }
    return keys;
}

bool Window::WaitForFocus() {
    const auto time = Prints("focus ");
    if (time) {
        focused_ = Clock::time_point(
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::stod(*time))));
    }
    return time.has_value();
}

Session::Session(const fs::path& home) : home_(home) {
    SetEnvironment(home);
    Write("/etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    Write(home / "config/glib-2.0/settings/keyfile", kDesktopSettings);
    Write(home / "config/gamemode.ini", kGameModeSettings);
    fs::create_directories("/tmp/.X11-unix");
    fs::create_directories("/var/lib/xkb");
    StartDisplay();
}

void Session::StartDisplay() {
    const std::string settings = Write(home_ / "xorg.conf", kServerSettings);
    const fs::path managed = home_ / "managed";
    fs::remove(managed);
    // Its own 3D would load a compiler, for nobody.
    server_ = StartInSession({"/usr/lib/xorg/Xorg", ":0", "vt1", "-noreset", "-ac", "-nolisten", "tcp", "-extension",
                              "GLX", "-config", settings, "-logfile", home_ / "xorg.log"});
    EXPECT_TRUE(Until([] { return IsDisplayOn(); })) << server_->Tail();
    windowManager_ = std::make_unique<Program>(
        std::vector<std::string>{"openbox", "--sm-disable", "--startup", "touch " + managed.string()});
    EXPECT_TRUE(Until([&] { return fs::exists(managed); }));
    if (bus_.Runs()) {
        StartPrograms();
    }
}

void Session::KillDisplay(int signal) {
    server_->Signal(signal);
    EXPECT_TRUE(server_->ExitStatus());
    server_.reset();
    windowManager_.reset();
    onBus_.clear();
}

void Session::StartBus() {
    bus_.Start();
    StartPrograms();
}

void Session::StartPrograms() {
    const std::vector<std::pair<std::string, std::vector<std::string>>> programs{
        {"org.mate.ScreenSaver", {"mate-screensaver", "--no-daemon"}}, {"org.onboard.Onboard", {"onboard"}}};
    for (const auto& [name, command] : programs) {
        onBus_.push_back(std::make_unique<Program>(command));
        EXPECT_TRUE(Until([name = name] { return IsOwned(name); }, kPatience, milliseconds(100))) << command[0];
    }
    ShowKeyboard(false);
    // The session's screensaver has switched the server's own off.
    OutputOf("xset s " + std::to_string(kIdleSeconds));
}

void Session::KillBus() {
    bus_.Kill();
    onBus_.clear();
}

bool Session::IsDisplayOn() {
    return OutputOf("xset q").find("Monitor is On") != std::string::npos;
}

void Session::SwitchDisplayOff() {
    OutputOf("xset dpms force off");
}

void Session::ShowKeyboard(bool isShown) {
    const std::string call =
        "gdbus call --session --dest org.onboard.Onboard --object-path /org/onboard/Onboard/Keyboard "
        "--method org.onboard.Onboard.Keyboard.";
    EXPECT_EQ(OutputOf(call + (isShown ? "Show" : "Hide")), "()");
}

void Session::ShowScreensaver() {
    OutputOf(
        "gdbus call --session --dest org.mate.ScreenSaver --object-path /org/mate/ScreenSaver "
        "--method org.mate.ScreenSaver.SetActive true");
}

bool Session::WaitUntilRead(const std::string& node) const {
    return Until([&] {
        const auto files = server_->OpenFiles();
        return std::find(files.begin(), files.end(), node) != files.end();
    });
}
