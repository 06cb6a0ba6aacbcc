#include "virtual_key/virtual_keyboard.h"

#include <cerrno>
#include <cstring>

#include "platform/dlog.h"
#include "platform/virtual_key.h"

VirtualKeyboard::~VirtualKeyboard() {
    for (int code = 0; code < kCodes; ++code) {
        if (down_.test(static_cast<size_t>(code))) {
            Send(code, KEY_ACTION_RELEASE);
        }
    }
}

int VirtualKeyboard::Send(int platformCode, int action) {
    if (action < KEY_ACTION_RELEASE || action > KEY_ACTION_AUTO_PRESS_RELEASE) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "virtual_key: key %d: there is no action %d", platformCode,
                     action);
        return -EINVAL;
    }
    if (!IsKey(platformCode)) {
        return -EINVAL;
    }
    const int result = sink_->Send(platformCode, action);
    if (result == 0) {
        down_.set(static_cast<size_t>(platformCode), action == KEY_ACTION_PRESS);
    }
    TellTrouble(platformCode, result);
    return result;
}

bool VirtualKeyboard::IsKey(int platformCode) {
    const char* reason = WhyNoKey(platformCode);
    if (reason != nullptr && refused_.insert(platformCode).second) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "virtual_key: key %d is refused: %s", platformCode, reason);
    }
    return reason == nullptr;
}

// The first of a row of failures only: a device that has gone fails for every key.
void VirtualKeyboard::TellTrouble(int platformCode, int result) {
    if (result != 0 && !inTrouble_) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "virtual_key: key %d was not delivered: %s", platformCode,
                     std::strerror(-result));
    }
    inTrouble_ = result != 0;
}
