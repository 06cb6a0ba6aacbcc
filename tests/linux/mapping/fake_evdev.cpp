#include "fake_evdev.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

const FakeEvdev* gDevice = nullptr;  // at most one at a time

bool IsOurs(int descriptor) {
    struct stat ours {};
    struct stat theirs {};
    return gDevice != nullptr && fstat(gDevice->Descriptor(), &ours) == 0 && fstat(descriptor, &theirs) == 0 &&
           ours.st_ino == theirs.st_ino && ours.st_dev == theirs.st_dev;
}

int Copy(const void* data, std::size_t size, unsigned long request, void* argument) {
    const std::size_t room = _IOC_SIZE(request);
    std::memset(argument, 0, room);
    std::memcpy(argument, data, std::min(size, room));
    return static_cast<int>(std::min(size, room));
}

using Bits = std::array<unsigned char, 128>;

void Set(Bits& bits, unsigned number) {
    bits[number / 8] = static_cast<unsigned char>(bits[number / 8] | 1U << number % 8);
}

Bits BitsOf(const mapping::Capabilities& can, unsigned eventType) {
    Bits bits{};
    if (eventType == 0) {
        std::for_each_n(std::array<unsigned, 3>{EV_SYN, EV_KEY, EV_ABS}.begin(), 3, [&](unsigned t) { Set(bits, t); });
    }
    for (unsigned key = 0; eventType == EV_KEY && key < KEY_CNT; ++key) {
        if (can.keys[key]) {
            Set(bits, key);
        }
    }
    for (unsigned axis = 0; eventType == EV_ABS && axis < ABS_CNT; ++axis) {
        if (can.axes[axis]) {
            Set(bits, axis);
        }
    }
    return bits;
}

}  // namespace

FakeEvdev::FakeEvdev(mapping::DeviceId id, mapping::Capabilities capabilities)
    : id_(std::move(id)), capabilities_(capabilities) {
    std::string pattern = "/tmp/fake-evdev-XXXXXX";
    if (gDevice != nullptr || mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("only one fake device at a time");
    }
    directory_ = pattern;
    path_ = directory_ + "/event7";
    descriptor_ = mkfifo(path_.c_str(), 0600) == 0 ? open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC) : -1;
    if (descriptor_ < 0) {
        throw std::runtime_error("cannot make " + path_);
    }
    gDevice = this;
}

FakeEvdev::~FakeEvdev() {
    gDevice = nullptr;
    close(descriptor_);
    unlink(path_.c_str());
    rmdir(directory_.c_str());
}

void FakeEvdev::Send(int type, int code, int value) {
    std::array<input_event, 2> events{};
    events[0].type = static_cast<std::uint16_t>(type);
    events[0].code = static_cast<std::uint16_t>(code);
    events[0].value = value;
    events[1].type = EV_SYN;
    if (write(descriptor_, events.data(), sizeof events) != static_cast<ssize_t>(sizeof events)) {
        throw std::runtime_error("the fake device's queue is full");
    }
}

int FakeEvdev::Answer(unsigned long request, void* argument) const {
    if (_IOC_TYPE(request) != 'E' || _IOC_DIR(request) != _IOC_READ) {
        return -1;
    }
    const unsigned number = _IOC_NR(request);
    if (number == _IOC_NR(EVIOCGID)) {
        const input_id id{id_.bus, id_.vendor, id_.product, id_.version};
        return Copy(&id, sizeof id, request, argument);
    }
    if (number == _IOC_NR(EVIOCGNAME(0))) {
        return Copy(id_.name.c_str(), id_.name.size() + 1, request, argument);
    }
    if (number >= 0x20 && number < 0x40) {
        const Bits bits = BitsOf(capabilities_, number - 0x20);
        return Copy(bits.data(), bits.size(), request, argument);
    }
    if (number >= 0x40 && number < 0x80) {
        const auto& axis = capabilities_.axes[number - 0x40];
        return axis ? Copy(&*axis, sizeof *axis, request, argument) : -1;
    }
    const bool isText = number == _IOC_NR(EVIOCGPHYS(0)) || number == _IOC_NR(EVIOCGUNIQ(0));
    return isText ? -1 : Copy("", 0, request, argument);  // no key is down, no property is set
}

// Stands before the C library's for the whole program. Named for the linker alone, since with 64-bit times on a 32-bit
// machine the compiler would give ioctl() another name.
extern "C" int AnswerIoctl(int descriptor, unsigned long request, ...) noexcept __asm__("ioctl");
int AnswerIoctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (!IsOurs(descriptor)) {
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    }
    const int answer = gDevice->Answer(request, argument);
    errno = answer < 0 ? ENOENT : errno;
    return answer;
}
