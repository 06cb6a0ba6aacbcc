#include "key_reader.h"

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr const char* kRemote = "quorvex virtual remote";

std::string FindRemote() {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator("/sys/class/input", none)) {
        std::string name;
        std::getline(std::ifstream(entry.path() / "device/name"), name);
        if (name == kRemote && entry.path().filename().string().rfind("event", 0) == 0) {
            return "/dev/input/" + entry.path().filename().string();
        }
    }
    return {};
}

int OpenNode(const std::string& node) {
    const int fd = open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    int clock = CLOCK_MONOTONIC;
    if (fd >= 0) {
        ioctl(fd, EVIOCSCLOCKID, &clock);
    }
    return fd;
}

Clock::time_point TimeOf(const input_event& event) {
    return Clock::time_point(std::chrono::seconds(event.input_event_sec) +
                             std::chrono::microseconds(event.input_event_usec));
}

}  // namespace

bool operator==(const Key& one, const Key& other) {
    return one.code == other.code && one.down == other.down;
}

std::ostream& operator<<(std::ostream& out, const Key& key) {
    const char* name = libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(key.code));
    return out << (name != nullptr ? name : "key") << '(' << key.code << ')' << (key.down == 1 ? " down" : " up");
}

std::vector<Key> Pressed(int code) {
    return {{code, 1}};
}
std::vector<Key> Released(int code) {
    return {{code, 0}};
}
std::vector<Key> PressedAndReleased(int code) {
    return {{code, 1}, {code, 0}};
}

KeyReader::KeyReader() {
    Until([this] {
        node_ = FindRemote();
        fd_ = node_.empty() ? -1 : OpenNode(node_);
        return Found();
    });
}

KeyReader::~KeyReader() {
    if (Found()) {
        close(fd_);
    }
}

std::vector<Key> KeyReader::Read(size_t count, milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (complete_.size() < count && Fill(deadline)) {
    }
    const auto end = complete_.begin() + static_cast<std::ptrdiff_t>(std::min(count, complete_.size()));
    std::vector<Key> keys(complete_.begin(), end);
    complete_.erase(complete_.begin(), end);
    return keys;
}

std::optional<std::vector<Key>> KeyReader::ReadUntilGone(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (Fill(deadline)) {
    }
    return gone_ ? std::optional(std::move(complete_)) : std::nullopt;
}

std::vector<int> KeyReader::HeldKeys() const {
    unsigned char bits[KEY_CNT / 8] = {};
    const int fd = OpenNode(node_);
    const bool known = fd >= 0 && ioctl(fd, EVIOCGKEY(sizeof bits), bits) >= 0;
    close(fd);
    std::vector<int> held;
    for (int code = 0; known && code < KEY_CNT; ++code) {
        if ((bits[code / 8] >> (code % 8) & 1) != 0) {
            held.push_back(code);
        }
    }
    return held;
}

// One event, waiting for it if need be; false when none comes any more.
bool KeyReader::Fill(Clock::time_point deadline) {
    input_event event{};
    ssize_t length = 0;
    while ((length = read(fd_, &event, sizeof event)) < 0 && errno == EAGAIN) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready{fd_, POLLIN, 0};
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left) + 1) == 0) {
            return false;
        }
    }
    if (length != static_cast<ssize_t>(sizeof event)) {
        gone_ = true;
        return false;
    }
    if (event.type == EV_KEY) {
        frame_.push_back({event.code, event.value, TimeOf(event)});
    } else if (event.type == EV_SYN) {
        oneKeyPerFrame_ = oneKeyPerFrame_ && event.code == SYN_REPORT && frame_.size() == 1;
        complete_.insert(complete_.end(), frame_.begin(), frame_.end());
        frame_.clear();
    }
    return true;
}
