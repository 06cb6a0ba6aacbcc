#include "keyboard.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <ctime>

namespace {

constexpr char kFolder[] = "/dev/input";

struct KeySet {
    unsigned char bits[KEY_CNT / 8] = {};

    bool Holds(int code) const { return (bits[code / 8] >> (code % 8) & 1) != 0; }
};

bool WaitToRead(int fd, Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
    pollfd ready{fd, POLLIN, 0};
    return left > 0 && poll(&ready, 1, static_cast<int>(left)) == 1;
}

Clock::time_point TimeOf(const input_event& event) {
    return Clock::time_point(std::chrono::seconds(event.input_event_sec) +
                             std::chrono::microseconds(event.input_event_usec));
}

}  // namespace

Keyboard::Keyboard() : notices_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    inotify_add_watch(notices_, kFolder, IN_CREATE);
}

Keyboard::~Keyboard() {
    close(notices_);
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool Keyboard::Wait(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (!TakeNotices()) {
        if (!WaitToRead(notices_, deadline)) {
            return false;
        }
    }
    return true;
}

bool Keyboard::TakeNotices() {
    alignas(inotify_event) char bytes[4096];
    const ssize_t length = read(notices_, bytes, sizeof bytes);
    for (ssize_t at = 0; at < length && fd_ < 0;) {
        const auto* notice = reinterpret_cast<const inotify_event*>(bytes + at);
        Open(notice->name);
        at += static_cast<ssize_t>(sizeof *notice + notice->len);
    }
    return fd_ >= 0;
}

bool Keyboard::Open(const std::string& name) {
    fd_ = open((std::string(kFolder) + "/" + name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    KeySet keys;
    int clock = CLOCK_MONOTONIC;
    const bool isKeyboard = ioctl(fd_, EVIOCGBIT(EV_KEY, sizeof keys.bits), keys.bits) >= 0 && keys.Holds(KEY_ENTER) &&
                            ioctl(fd_, EVIOCSCLOCKID, &clock) == 0;
    if (!isKeyboard && fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
    return isKeyboard;
}

void Keyboard::Drain() {
    input_event event{};
    while (read(fd_, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
        Take(event);
    }
}

void Keyboard::Take(const input_event& event) {
    if (event.type == EV_KEY && event.code == KEY_ENTER && event.value != 2) {
        (event.value == 1 ? presses_ : releases_).push_back(TimeOf(event));
    }
}

bool Keyboard::WaitForPress(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    for (Drain(); presses_.empty() && WaitToRead(fd_, deadline); Drain()) {
    }
    return !presses_.empty();
}

void Keyboard::Forget() {
    Drain();
    presses_.clear();
    releases_.clear();
}

int Keyboard::Held() const {
    KeySet held;
    ioctl(fd_, EVIOCGKEY(sizeof held.bits), held.bits);
    int count = 0;
    for (int code = 0; code < KEY_CNT; ++code) {
        count += held.Holds(code) ? 1 : 0;
    }
    return count;
}
