#include "hostile_evdev.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "fuzz.h"

namespace {

const HostileDevice* gDevice = nullptr;

bool IsOurs(int descriptor) {
    struct stat status {};
    return gDevice != nullptr && fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

int Copy(const void* data, std::size_t size, unsigned long request, void* argument) {
    const std::size_t room = _IOC_SIZE(request);
    std::memset(argument, 0, room);
    std::memcpy(argument, data, std::min(size, room));
    return static_cast<int>(std::min(size, room));
}

// Texts keep their 0 only where there is room for it, as the kernel has it.
int CopyText(const std::string& text, unsigned long request, void* argument) {
    return text.empty() ? -ENOENT : Copy(text.c_str(), text.size() + 1, request, argument);
}

template <std::size_t kCount>
int CopyBits(const std::bitset<kCount>& bits, unsigned long request, void* argument) {
    std::array<unsigned char, kCount / 8 + 1> bytes{};
    for (std::size_t bit = 0; bit < kCount; ++bit) {
        bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] | (bits[bit] ? 1U << bit % 8 : 0U));
    }
    return Copy(bytes.data(), bytes.size(), request, argument);
}

int AnswerBits(const HostileDevice& device, unsigned type, unsigned long request, void* argument) {
    std::bitset<ABS_CNT> axes;
    for (std::size_t axis = 0; axis < ABS_CNT; ++axis) {
        axes[axis] = device.axes[axis].has_value();
    }
    switch (type) {
        case 0:
            return CopyBits(std::bitset<EV_CNT>(1U << EV_SYN | 1U << EV_KEY | 1U << EV_REL | 1U << EV_ABS), request,
                            argument);
        case EV_KEY:
            return CopyBits(device.keys, request, argument);
        case EV_REL:
            return CopyBits(device.relative, request, argument);
        case EV_ABS:
            return CopyBits(axes, request, argument);
        default:
            return Copy("", 0, request, argument);
    }
}

int Answer(const HostileDevice& device, unsigned long request, void* argument) {
    const unsigned number = _IOC_NR(request);
    if (number >= 0x20 && number < 0x40) {
        return AnswerBits(device, number - 0x20, request, argument);
    }
    if (number >= 0x40 && number < 0x80) {
        const auto& axis = device.axes[number - 0x40];
        return axis ? Copy(&*axis, sizeof *axis, request, argument) : -EINVAL;
    }
    switch (number) {
        case _IOC_NR(EVIOCGID):
            return Copy(&device.id, sizeof device.id, request, argument);
        case _IOC_NR(EVIOCGNAME(0)):
            return CopyText(device.name, request, argument);
        case _IOC_NR(EVIOCGPHYS(0)):
            return CopyText(device.phys, request, argument);
        case _IOC_NR(EVIOCGUNIQ(0)):
            return CopyText(device.uniq, request, argument);
        case _IOC_NR(EVIOCGPROP(0)):
            return CopyBits(device.properties, request, argument);
        case _IOC_NR(EVIOCGKEY(0)):
            return CopyBits(device.held, request, argument);
        default:
            return Copy("", 0, request, argument);
    }
}

}  // namespace

HostileEvdev::HostileEvdev(const HostileDevice& device) {
    fuzz::Require(gDevice == nullptr && pipe2(ends_, O_NONBLOCK | O_CLOEXEC) == 0, "there is one device at a time");
    gDevice = &device;
}

HostileEvdev::~HostileEvdev() {
    gDevice = nullptr;
    close(ends_[0]);
    close(ends_[1]);
}

std::string HostileEvdev::Path() const {
    return "/proc/self/fd/" + std::to_string(ends_[0]);
}

void HostileEvdev::Send(const std::string& bytes) const {
    [[maybe_unused]] const ssize_t written = write(ends_[1], bytes.data(), bytes.size());
}

// Stands before the C library's for the whole program.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (!IsOurs(descriptor)) {
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    }
    const bool isQuestion = _IOC_TYPE(request) == 'E' && _IOC_DIR(request) == _IOC_READ;
    const int answer = isQuestion ? Answer(*gDevice, request, argument) : 0;
    errno = answer < 0 ? -answer : errno;
    return answer < 0 ? -1 : answer;
}
