#include "virtual_key/key_codes.h"

#include <libevdev/libevdev.h>

namespace {

struct CodeRange {
    int first;
    int last;
};

// The kernel's BTN_ codes. A device that declares one is a pointer or a joystick to everyone who classifies it: games
// and our own search for pads would take the remote for a pad.
constexpr CodeRange kButtons[] = {
    {BTN_MISC, KEY_OK - 1}, {BTN_DPAD_UP, BTN_DPAD_RIGHT}, {BTN_TRIGGER_HAPPY1, BTN_TRIGGER_HAPPY40}};

bool IsButton(int kernelCode) {
    for (const CodeRange& range : kButtons) {
        if (kernelCode >= range.first && kernelCode <= range.last) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool IsInKernelsRange(int platformCode) {
    return platformCode > KEY_RESERVED + kPlatformCodeOffset && platformCode <= KEY_MAX + kPlatformCodeOffset;
}

const char* WhyNoKey(int platformCode) {
    if (!IsInKernelsRange(platformCode)) {
        return "the kernel has no such key";
    }
    const int kernelCode = platformCode - kPlatformCodeOffset;
    if (IsButton(kernelCode)) {
        return "it is a button, which would turn the remote into a joystick";
    }
    // With every code from 1 to 31 the remote would count as a full keyboard, and a desktop that sees one keeps its
    // on-screen keyboard away. Of these the left Ctrl is the one that does nothing when it is pressed alone.
    return kernelCode == KEY_LEFTCTRL ? "left Ctrl is left out, or the remote would count as a full keyboard" : nullptr;
}

std::string KeyName(int platformCode) {
    const int kernelCode = platformCode - kPlatformCodeOffset;
    if (const char* name = libevdev_event_code_get_name(EV_KEY, static_cast<unsigned int>(kernelCode))) {
        return name;
    }
    switch (platformCode) {
        case 571:
            return "REMOTE_STICK";
        case 572:
            return "REMOTE_PLAYDECK";
        default:
            return "KEY_" + std::to_string(kernelCode);
    }
}
