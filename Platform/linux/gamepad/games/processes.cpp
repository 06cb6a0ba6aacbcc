#include "gamepad/games/processes.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

#include "gamepad/file_descriptor.h"

namespace games {
namespace {

constexpr int kMostAncestors = 256;  // a chain of parents read while processes end may even be a ring

std::string PathOf(pid_t pid, const char* file) {
    return "/proc/" + std::to_string(pid) + "/" + file;
}

std::string ReadStart(const std::string& path) {
    const gamepad::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 512> text;
    const ssize_t length = file ? read(file.Get(), text.data(), text.size()) : -1;
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : std::string();
}

std::string LinkTarget(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : std::string();
}

/// A program that was updated while it runs still has its name.
std::string WithoutDeleted(const std::string& path) {
    static const std::string kDeleted = " (deleted)";
    const bool is_deleted =
        path.size() > kDeleted.size() && path.compare(path.size() - kDeleted.size(), kDeleted.size(), kDeleted) == 0;
    return is_deleted ? path.substr(0, path.size() - kDeleted.size()) : path;
}

}  // namespace

ProcessName NameOf(pid_t pid) {
    const std::string path = WithoutDeleted(LinkTarget(PathOf(pid, "exe")));
    const std::string command = ReadStart(PathOf(pid, "comm"));
    return {path.substr(path.rfind('/') + 1), command.substr(0, command.find('\n'))};
}

/// "pid (name) state parent ...", where the name may hold anything, also parentheses.
pid_t ParentOf(pid_t pid) {
    const std::string text = ReadStart(PathOf(pid, "stat"));
    const std::size_t name_end = text.rfind(") ");
    if (name_end == std::string::npos || name_end + 4 >= text.size()) {
        return 0;
    }
    return static_cast<pid_t>(std::strtol(text.c_str() + name_end + 4, nullptr, 10));
}

pid_t NearestAncestor(pid_t pid, const std::function<bool(pid_t)>& is_wanted) {
    for (int steps = 0; pid > 0 && steps < kMostAncestors; ++steps) {
        if (is_wanted(pid)) {
            return pid;
        }
        pid = ParentOf(pid);
    }
    return 0;
}

}  // namespace games
