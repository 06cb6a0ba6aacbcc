#include "console_keys.h"

#include <fcntl.h>
#include <linux/kd.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

ConsoleKeys::ConsoleKeys() : fd_(open("/dev/tty1", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    termios raw{};
    tcgetattr(fd_, &raw);
    cfmakeraw(&raw);
    tcsetattr(fd_, TCSAFLUSH, &raw);
    ioctl(fd_, KDGKBMODE, &modeBefore_);
    ioctl(fd_, KDSKBMODE, K_MEDIUMRAW);
}

ConsoleKeys::~ConsoleKeys() {
    ioctl(fd_, KDSKBMODE, modeBefore_);
    close(fd_);
}

std::vector<Key> ConsoleKeys::Read(size_t count, milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    std::vector<Key> keys;
    while (keys.size() < count) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready{fd_, POLLIN, 0};
        unsigned char byte = 0;
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left) + 1) <= 0 || read(fd_, &byte, 1) != 1) {
            break;
        }
        keys.push_back({byte & 0x7f, (byte & 0x80) == 0 ? 1 : 0});
    }
    return keys;
}
