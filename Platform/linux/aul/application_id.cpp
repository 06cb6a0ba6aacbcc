#include "aul/application_id.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

#include "tzplatform/base_directory.h"

namespace aul {
namespace {

constexpr char kSuffix[] = ".desktop";
// What a process was started with rarely exceeds a few thousand characters; what comes later in it is not looked at.
constexpr size_t kLongestFile = size_t{64} * 1024;

std::string ProcPath(pid_t pid, const char* file) {
    return "/proc/" + std::to_string(pid) + "/" + file;
}

std::string ReadFile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return {};
    }
    std::string content;
    char part[4096];
    ssize_t size = 0;
    while (content.size() < kLongestFile && (size = read(fd, part, sizeof part)) > 0) {
        content.append(part, static_cast<size_t>(size));
    }
    close(fd);
    return content;
}

std::string Variable(const std::string& environment, const std::string& name) {
    const std::string start = name + "=";
    for (size_t at = 0; at < environment.size(); at = environment.find('\0', at) + 1) {
        if (environment.compare(at, start.size(), start) == 0) {
            return environment.c_str() + at + start.size();
        }
        if (environment.find('\0', at) == std::string::npos) {
            break;
        }
    }
    return {};
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// With a name before the suffix.
bool IsEntry(const std::string& file) {
    return EndsWith(file, kSuffix) && file != kSuffix;
}

// The id of an entry in a subdirectory has dashes for slashes.
std::string IdOfEntry(const std::string& path) {
    static const std::string directory = "/applications/";
    const size_t found = path.find(directory);
    std::string id =
        found != std::string::npos ? path.substr(found + directory.size()) : path.substr(path.rfind('/') + 1);
    std::replace(id.begin(), id.end(), '/', '-');
    return IsEntry(id) ? id : std::string();
}

// systemd writes other characters than letters, digits, "_", "." and ":" as "\xNN"; no name has a 0 in it.
std::string Unescape(const std::string& text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isEscape = text.compare(at, 2, "\\x") == 0 && at + 3 < text.size() &&
                              std::isxdigit(static_cast<unsigned char>(text[at + 2])) != 0 &&
                              std::isxdigit(static_cast<unsigned char>(text[at + 3])) != 0;
        const long character = isEscape ? std::strtol(text.substr(at + 2, 2).c_str(), nullptr, 16) : 0;
        if (character != 0) {
            plain += static_cast<char>(character);
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

// "app[-<launcher>]-<id>-<random>.scope" or "app[-<launcher>]-<id>[@<random>].service".
std::string IdOfUnit(const std::string& unit) {
    const bool isScope = EndsWith(unit, ".scope");
    if (unit.compare(0, 4, "app-") != 0 || (!isScope && !EndsWith(unit, ".service"))) {
        return {};
    }
    std::string name = unit.substr(0, unit.rfind('.'));
    name = name.substr(0, name.find('@'));
    const std::vector<std::string> parts = Split(name, '-');
    const size_t behind = isScope ? 2 : 1;
    if (parts.size() < behind + 1 || parts[parts.size() - behind].empty()) {
        return {};
    }
    return Unescape(parts[parts.size() - behind]) + kSuffix;
}

// The innermost unit; an application may have made groups of its own inside it.
std::string IdOfGroup(const std::string& path) {
    const std::vector<std::string> parts = Split(path, '/');
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        std::string id = IdOfUnit(*part);
        if (!id.empty()) {
            return id;
        }
    }
    return {};
}

std::vector<std::string> DataDirectories() {
    std::vector<std::string> directories{BaseDirectory("XDG_DATA_HOME", ".local/share")};
    const char* others = std::getenv("XDG_DATA_DIRS");
    const bool isSet = others != nullptr && *others != '\0';
    for (const std::string& directory : Split(isSet ? others : "/usr/local/share:/usr/share", ':')) {
        directories.push_back(directory);
    }
    return directories;
}

bool HasEntry(const std::string& id) {
    const std::vector<std::string> directories = DataDirectories();
    return std::any_of(directories.begin(), directories.end(), [&id](const std::string& directory) {
        return access((directory + "/applications/" + id).c_str(), R_OK) == 0;
    });
}

// Nothing but a small regular file is opened, which never waits.
std::string WindowClassOf(const std::filesystem::directory_entry& entry) {
    std::error_code problem;
    if (!entry.is_regular_file(problem) || entry.file_size(problem) > kLongestFile || problem) {
        return {};
    }
    g_autoptr(GKeyFile) file = g_key_file_new();
    g_autofree char* name = nullptr;
    if (g_key_file_load_from_file(file, entry.path().c_str(), G_KEY_FILE_NONE, nullptr) != 0) {
        name = g_key_file_get_string(file, "Desktop Entry", "StartupWMClass", nullptr);
    }
    return name != nullptr ? name : "";
}

// The first by name, as directories have no order.
std::string EntryOfClass(const std::string& directory, const std::string& windowClass) {
    constexpr auto options = std::filesystem::directory_options::skip_permission_denied;
    std::string first;
    std::error_code problem;
    for (std::filesystem::recursive_directory_iterator at(directory, options, problem), end; !problem && at != end;
         at.increment(problem)) {
        const std::string id = IdOfEntry(at->path());
        if (!id.empty() && (first.empty() || id < first) && WindowClassOf(*at) == windowClass) {
            first = id;
        }
    }
    return first;
}

std::string EntryOfClass(const std::string& windowClass) {
    for (const std::string& directory : DataDirectories()) {
        std::string id = EntryOfClass(directory + "/applications", windowClass);
        if (!id.empty()) {
            return id;
        }
    }
    return {};
}

std::string Executable(pid_t pid) {
    char target[PATH_MAX];
    const ssize_t size = readlink(ProcPath(pid, "exe").c_str(), target, sizeof target);
    if (size <= 0) {
        return {};
    }
    std::string path(target, static_cast<size_t>(size));
    static const std::string deleted = " (deleted)";
    if (EndsWith(path, deleted)) {
        path.resize(path.size() - deleted.size());
    }
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

std::string IdFromEnvironment(const std::string& environment, pid_t pid) {
    if (Variable(environment, "GIO_LAUNCHED_DESKTOP_FILE_PID") != std::to_string(pid)) {
        return {};
    }
    return IdOfEntry(Variable(environment, "GIO_LAUNCHED_DESKTOP_FILE"));
}

// "<number>:<controllers>:<path>"; systemd's own hierarchy is the one without controllers or with its name.
std::string IdFromControlGroups(const std::string& groups) {
    for (const std::string& line : Split(groups, '\n')) {
        const size_t first = line.find(':');
        const size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        const std::string controllers = line.substr(first + 1, second - first - 1);
        std::string id = IdOfGroup(line.substr(second + 1));
        if (!id.empty() && (controllers.empty() || controllers == "name=systemd")) {
            return id;
        }
    }
    return {};
}

// A window's text is not trusted with choosing a directory, nor with cutting the path before its end.
std::string IdFromWindow(const std::string& windowApp) {
    static const std::string refused("/\0", 2);
    if (windowApp.empty() || windowApp.find_first_of(refused) != std::string::npos) {
        return {};
    }
    std::string small = windowApp;
    std::transform(small.begin(), small.end(), small.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const std::string& name : {windowApp, small}) {
        if (HasEntry(name + kSuffix)) {
            return name + kSuffix;
        }
    }
    return EntryOfClass(windowApp);
}

std::string ApplicationId(pid_t pid, const std::string& windowApp) {
    std::string id = IdFromEnvironment(ReadFile(ProcPath(pid, "environ")), pid);
    if (id.empty()) {
        id = IdFromControlGroups(ReadFile(ProcPath(pid, "cgroup")));
    }
    if (id.empty()) {
        id = IdFromWindow(windowApp);
    }
    return id.empty() ? Executable(pid) : id;
}

}  // namespace aul
