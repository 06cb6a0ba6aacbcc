/// What both programs of this folder share: the least that a program can do to have a keyboard of its own.
#pragma once

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

/// A uinput keyboard with one key, Enter; -1 where there can be none. It goes when the descriptor is closed.
inline int OpenKeyboard() {
    const int fd = open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strcpy(setup.name, "limit");
    const bool made = fd >= 0 && ioctl(fd, UI_SET_EVBIT, EV_KEY) == 0 && ioctl(fd, UI_SET_KEYBIT, KEY_ENTER) == 0 &&
                      ioctl(fd, UI_DEV_SETUP, &setup) == 0 && ioctl(fd, UI_DEV_CREATE) == 0;
    return made ? fd : -1;
}

/// The pad's south button is Enter; everything else is nothing.
inline void Answer(int keyboard, const input_event& event) {
    if (event.type != EV_KEY || event.code != BTN_SOUTH) {
        return;
    }
    input_event answer[2]{};
    answer[0].type = EV_KEY;
    answer[0].code = KEY_ENTER;
    answer[0].value = event.value;
    if (write(keyboard, answer, sizeof answer) < 0) {
        std::perror("keyboard");
    }
}

/// Answers all that the pad, opened without waiting, has to say; false when it is gone.
inline bool AnswerAll(int pad, int keyboard) {
    input_event events[64];
    ssize_t length = 0;
    do {
        length = read(pad, events, sizeof events);
        for (ssize_t i = 0; i < length / static_cast<ssize_t>(sizeof *events); ++i) {
            Answer(keyboard, events[i]);
        }
    } while (length == static_cast<ssize_t>(sizeof events));
    return length >= 0 || errno == EAGAIN;
}
