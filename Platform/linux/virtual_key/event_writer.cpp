#include "virtual_key/event_writer.h"

#include <linux/input.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "platform/virtual_key.h"
#include "virtual_key/key_codes.h"

namespace {

constexpr int kPatienceMs = 100;

struct Events {
    input_event list[4]{};
    size_t count = 0;

    void Add(int type, int code, int value) {
        input_event& event = list[count++];  // without a time: the kernel sets it
        event.type = static_cast<decltype(event.type)>(type);
        event.code = static_cast<decltype(event.code)>(code);
        event.value = value;
    }

    void AddKey(int code, int value) {
        Add(EV_KEY, code, value);
        Add(EV_SYN, SYN_REPORT, 0);
    }
};

// True when there is a reason to try again.
bool MayRetry(int fd, int error) {
    if (error == EINTR) {
        return true;
    }
    pollfd room{fd, POLLOUT, 0};
    return error == EAGAIN && poll(&room, 1, kPatienceMs) == 1;
}

int WriteAll(int fd, const void* data, size_t length) {
    const char* next = static_cast<const char*>(data);
    while (length > 0) {
        const ssize_t written = write(fd, next, length);
        if (written > 0) {
            next += written;
            length -= static_cast<size_t>(written);
            continue;
        }
        const int error = written == 0 ? EIO : errno;
        if (!MayRetry(fd, error)) {
            return -error;
        }
    }
    return 0;
}

}  // namespace

int EventWriter::Send(int platformCode, int action) {
    const int code = platformCode - kPlatformCodeOffset;
    Events events;
    if (action != KEY_ACTION_RELEASE) {
        events.AddKey(code, 1);
    }
    if (action != KEY_ACTION_PRESS) {
        events.AddKey(code, 0);
    }
    return WriteAll(fd_, events.list, events.count * sizeof(input_event));
}
