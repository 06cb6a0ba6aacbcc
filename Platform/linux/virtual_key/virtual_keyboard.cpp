#include "virtual_key/virtual_keyboard.h"

#include <cerrno>
#include <cstring>

#include "platform/dlog.h"
#include "platform/virtual_key.h"
#include "virtual_key/key_codes.h"

VirtualKeyboard::~VirtualKeyboard() {
    for (int code = 0; code < kCodes; ++code) {
        if (downAs_[static_cast<size_t>(code)] != kUp) {
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
    const int sent = SentFor(platformCode);
    if (!IsKey(platformCode, sent)) {
        return -EINVAL;
    }
    const int result = sink_->Send(sent, action);
    if (result == 0 && IsInKernelsRange(platformCode)) {
        downAs_[static_cast<size_t>(platformCode)] = action == KEY_ACTION_PRESS ? sent : kUp;
    }
    TellTrouble(platformCode, result);
    return result;
}

int VirtualKeyboard::SentFor(int platformCode) const {
    const int down = IsInKernelsRange(platformCode) ? downAs_[static_cast<size_t>(platformCode)] : kUp;
    return down != kUp ? down : map_->Sent(platformCode);
}

bool VirtualKeyboard::IsKey(int platformCode, int sent) {
    const char* reason = WhyNoKey(sent);
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
