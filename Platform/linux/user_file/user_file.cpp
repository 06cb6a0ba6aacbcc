#include "user_file/user_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "gamepad/file_descriptor.h"

namespace {

constexpr std::size_t kLongestFile = 65536;

}  // namespace

std::optional<std::string> TextOf(const std::string& path) {
    const gamepad::FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > kLongestFile) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t length = read(file.Get(), text.data(), text.size());
    if (length < 0) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}
