#include "platform/virtual_key.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>

#include "locks/locks.h"
#include "platform/dlog.h"
#include "virtual_key/key_map_file.h"
#include "virtual_key/print_sink.h"
#include "virtual_key/uinput_keyboard.h"
#include "virtual_key/virtual_keyboard.h"

namespace {

constexpr char kUinput[] = "/dev/uinput";

// A plain pointer, not destroyed when the process ends: threads may still send then. The kernel takes care of a
// device that was not finalized.
Lock keyboardLock;
VirtualKeyboard* keyboard GUARDED_BY(keyboardLock) = nullptr;
KeyMapFile* keyMapFile GUARDED_BY(keyboardLock) = nullptr;

bool ShallPrint() {
    const char* setting = std::getenv("QUORVEX_KEYS");
    const std::string_view word = setting == nullptr ? "" : setting;
    if (!word.empty() && word != "print" && word != "uinput") {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "virtual_key: QUORVEX_KEYS=%s is none of print, uinput: keys go to %s", setting, kUinput);
    }
    return word == "print";
}

std::unique_ptr<KeySink> OpenPrintSink() {
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "virtual_key: keys are printed to standard output");
    return std::make_unique<PrintSink>(STDOUT_FILENO);
}

std::unique_ptr<KeySink> OpenUinputKeyboard(int* error) {
    auto device = UinputKeyboard::Open(kUinput, error);
    if (device) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "virtual_key: keys come from \"%s\", %s", kVirtualKeyboardName,
                     device->Node());
    }
    return device;
}

int OpenKeyboardLocked() REQUIRES(keyboardLock) {
    int error = 0;
    auto sink = ShallPrint() ? OpenPrintSink() : OpenUinputKeyboard(&error);
    if (!sink) {
        return error;
    }
    const auto map = std::make_shared<KeyMap>();
    auto file = std::make_unique<KeyMapFile>(KeyMapPath(), map);
    keyboard = new VirtualKeyboard(std::move(sink), map);
    keyMapFile = file.release();
    return 1;
}

}  // namespace

// A client that initializes twice has a keyboard, which is what it asks for.
int VirtualKey_Initialize(const char*) try {
    const Hold lock(keyboardLock);
    return keyboard == nullptr ? OpenKeyboardLocked() : 1;
} catch (const std::exception&) {
    return -ENOMEM;
}

int VirtualKey_Send_KeyCode(int key_code, int action) try {
    const Hold lock(keyboardLock);
    if (keyboard == nullptr) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "virtual_key: key %d is lost: not initialized", key_code);
        return -ENODEV;
    }
    const int error = keyboard->Send(key_code, action);
    return error == 0 ? 1 : error;
} catch (const std::exception&) {
    return -ENOMEM;
}

void VirtualKey_Finalize(void) {
    const Hold lock(keyboardLock);
    delete keyboard;
    keyboard = nullptr;
    delete keyMapFile;
    keyMapFile = nullptr;
}
