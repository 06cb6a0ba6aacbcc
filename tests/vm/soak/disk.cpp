#include "disk.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace {

constexpr const char* kSize = "size=256k";

void Mount(const std::filesystem::path& folder, unsigned long flags) {
    if (mount("settings", folder.c_str(), "tmpfs", flags, kSize) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot mount " + folder.string());
    }
}

}  // namespace

Disk::Disk(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    Mount(folder_, 0);
}

Disk::~Disk() {
    umount2(folder_.c_str(), MNT_DETACH);
}

void Disk::Fill() {
    const std::array<char, 4096> page{};
    const int file = open(Ballast().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    while (write(file, page.data(), page.size()) > 0) {
    }
    const bool isFull = errno == ENOSPC;
    close(file);
    if (!isFull) {
        throw std::system_error(errno, std::generic_category(), "cannot fill " + folder_.string());
    }
    isWell_ = false;
}

void Disk::MakeReadOnly() {
    Mount(folder_, MS_REMOUNT | MS_RDONLY);
    isWell_ = false;
}

void Disk::Repair() {
    Mount(folder_, MS_REMOUNT);
    std::filesystem::remove(Ballast());
    isWell_ = true;
}
