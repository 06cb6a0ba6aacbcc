#include "gamepad/games/ignored_readers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sstream>
#include <utility>

#include "platform/dlog.h"
#include "tzplatform/base_directory.h"
#include "user_file/user_file.h"

namespace games {
namespace {

constexpr std::size_t kLongestCommand = 15;  // the kernel keeps so much of a process's name

std::string Trimmed(const std::string& text) {
    static constexpr char kBlanks[] = " \t\r";
    const std::size_t from = text.find_first_not_of(kBlanks);
    return from == std::string::npos ? "" : text.substr(from, text.find_last_not_of(kBlanks) - from + 1);
}

bool IsSameFile(const struct stat& one, const struct stat& other) {
    const auto traits = [](const struct stat& file) {
        return std::array<long long, 6>{static_cast<long long>(file.st_dev),
                                        static_cast<long long>(file.st_ino),
                                        file.st_size,
                                        file.st_mtim.tv_sec,
                                        file.st_mtim.tv_nsec,
                                        file.st_ctim.tv_sec};
    };
    return traits(one) == traits(other);
}

bool IsAlwaysIgnored(const std::string& name) {
    const std::vector<std::string>& names = AlwaysIgnored();
    return std::binary_search(names.begin(), names.end(), name);
}

}  // namespace

const std::vector<std::string>& AlwaysIgnored() {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> names{
            // compositors and display servers
            "Hyprland", "X", "Xorg", "Xwayland", "cage", "cinnamon", "cosmic-comp", "enlightenment", "gamescope",
            "gamescope-wl", "gnome-shell", "kwin_wayland", "kwin_wayland_wrapper", "kwin_x11", "labwc", "mutter",
            "muffin", "niri", "phoc", "plasmashell", "river", "sway", "wayfire", "weston",
            // services of the session
            "dbus-broker", "dbus-daemon", "kded5", "kded6", "pipewire", "pulseaudio", "systemd", "systemd-logind",
            "upowerd", "wireplumber",
            // what reads every pad all the time and hands it on, or keeps the screen or the lights on
            "antimicrox", "input-remapper-service", "joystickwake", "openrgb", "qjoypad", "scc-daemon", "xboxdrv",
            // tools that show what a pad sends
            "evemu-record", "evtest", "jstest", "jstest-gtk", "libinput", "libinput-debug-events", "udevadm",
            // another one of these, and what looks at it
            "quorvex", "quorvex-doctor"};
        std::sort(names.begin(), names.end());
        return names;
    }();
    return kNames;
}

std::set<std::string> ReadNames(const std::string& text, std::vector<std::string>& complaints) {
    std::set<std::string> names;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string wanted = Trimmed(line.substr(0, line.find('#')));
        const std::string name = wanted.substr(wanted.rfind('/') + 1);
        if (!name.empty()) {
            names.insert(name);
        } else if (!wanted.empty()) {
            complaints.push_back("line " + std::to_string(number) + ": \"" + wanted + "\" names no program");
        }
    }
    return names;
}

std::string IgnoredReadersPath() {
    return BaseDirectory("XDG_CONFIG_HOME", ".config") + "/quorvex/ignored-readers";
}

IgnoredReaders::IgnoredReaders(GMainContext* context, std::string path, std::function<void()> on_change)
    : path_(std::move(path)), watch_(context, path_, [this, on_change = std::move(on_change)] {
          is_stale_ = true;
          on_change();
      }) {}

/// The times of a file are too coarse to tell of each change, and the watch does not see all of them either.
void IgnoredReaders::Refresh() {
    struct stat now {};
    if (stat(path_.c_str(), &now) != 0) {
        now = {};
    }
    if (!std::exchange(is_stale_, false) && IsSameFile(now, seen_)) {
        return;
    }
    seen_ = now;
    Read();
}

void IgnoredReaders::Read() {
    const std::optional<std::string> text = TextOf(path_);
    const int error = text || errno == ENOENT || errno == ENOTDIR ? 0 : errno;
    std::vector<std::string> complaints;
    std::set<std::string> names = ReadNames(text.value_or(""), complaints);
    if (error != 0 && error != error_) {
        complaints.push_back(std::string(std::strerror(error)) + "; only the built-in names are ignored");
    }
    for (const std::string& complaint : complaints) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s: %s", path_.c_str(), complaint.c_str());
    }
    error_ = error;
    if (names != names_) {
        names_ = std::move(names);
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: programs named to read pads without being games: %zu",
                     path_.c_str(), names_.size());
    }
}

bool IgnoredReaders::Names(const std::string& name) const {
    return !name.empty() && (IsAlwaysIgnored(name) || names_.count(name) != 0);
}

/// A long name is known by its start where the kernel has kept no more of it.
bool IgnoredReaders::Contains(const ProcessName& name) const {
    const auto starts_with_command = [&name](const std::string& ignored) {
        return ignored.compare(0, kLongestCommand, name.command) == 0;
    };
    return Names(name.executable) || Names(name.command) ||
           (name.command.size() == kLongestCommand && std::any_of(names_.begin(), names_.end(), starts_with_command));
}

}  // namespace games
