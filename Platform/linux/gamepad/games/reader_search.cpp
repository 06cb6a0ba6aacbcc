#include "gamepad/games/reader_search.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace games {
namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

Directory OpenBelow(int parent, const char* path) {
    const int fd = openat(parent, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const directory = fd >= 0 ? fdopendir(fd) : nullptr;
    if (directory == nullptr && fd >= 0) {
        close(fd);
    }
    return Directory(directory);
}

/// Root may look into every process; the games are this user's all the same.
bool IsOwn(DIR* directory) {
    struct stat status {};
    return fstat(dirfd(directory), &status) == 0 && status.st_uid == geteuid();
}

/// The last part of what an open descriptor leads to, which costs no access to the file itself.
const char* NameBehind(DIR* descriptors, const char* number, std::array<char, PATH_MAX>& target) {
    const ssize_t length = readlinkat(dirfd(descriptors), number, target.data(), target.size() - 1);
    if (length <= 0) {
        return "";
    }
    target[static_cast<std::size_t>(length)] = '\0';
    const char* const slash = std::strrchr(target.data(), '/');
    return slash == nullptr ? "" : slash + 1;
}

const Node* NodeBehind(DIR* descriptors, const char* number, const std::vector<Node>& nodes) {
    std::array<char, PATH_MAX> target;
    const char* const name = NameBehind(descriptors, number, target);
    for (const Node& node : nodes) {
        struct stat file {};
        if (node.Name() == name && fstatat(dirfd(descriptors), number, &file, 0) == 0 && node.Is(file)) {
            return &node;
        }
    }
    return nullptr;
}

const Node* HeldOpen(DIR* descriptors, const std::vector<Node>& nodes) {
    while (const dirent* entry = readdir(descriptors)) {
        const Node* const node = entry->d_name[0] == '.' ? nullptr : NodeBehind(descriptors, entry->d_name, nodes);
        if (node != nullptr) {
            return node;
        }
    }
    return nullptr;
}

}  // namespace

bool Node::Identify() {
    struct stat file {};
    if (stat(path_.c_str(), &file) != 0) {
        return false;
    }
    is_device_ = S_ISCHR(file.st_mode);
    device_ = is_device_ ? file.st_rdev : file.st_dev;
    inode_ = is_device_ ? 0 : file.st_ino;
    return true;
}

bool Node::Is(const struct stat& file) const {
    if (is_device_) {
        return S_ISCHR(file.st_mode) && file.st_rdev == device_;
    }
    return !S_ISCHR(file.st_mode) && file.st_dev == device_ && file.st_ino == inode_;
}

bool FindReaders(const std::vector<Node>& nodes, std::vector<Reader>& readers) {
    const Directory processes = OpenBelow(AT_FDCWD, "/proc");
    if (processes == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(processes.get())) {
        const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        if (pid <= 0 || pid == getpid()) {
            continue;
        }
        const std::string path = std::string(entry->d_name) + "/fd";
        const Directory descriptors = OpenBelow(dirfd(processes.get()), path.c_str());
        const Node* const node =
            descriptors != nullptr && IsOwn(descriptors.get()) ? HeldOpen(descriptors.get(), nodes) : nullptr;
        if (node != nullptr) {
            readers.push_back({pid, node->Path()});
        }
    }
    return true;
}

}  // namespace games
