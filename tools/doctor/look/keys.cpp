#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "gamepad/file_descriptor.h"
#include "look/looks.h"
#include "virtual_key/key_map.h"
#include "virtual_key/uinput_keyboard.h"

namespace doctor {
namespace {

constexpr char kRuleName[] = "71-quorvex.rules";

bool HasRule() {
    for (const char* folder :
         {"/etc/udev/rules.d/", "/run/udev/rules.d/", "/usr/lib/udev/rules.d/", "/lib/udev/rules.d/"}) {
        std::error_code error;
        if (std::filesystem::exists(std::string(folder) + kRuleName, error)) {
            return true;
        }
    }
    return false;
}

std::string RemedyFor(int error) {
    if (error != EACCES && error != EPERM) {
        return "sudo modprobe uinput";
    }
    if (HasRule()) {
        return "log in at the machine itself, or give the rule's rights now: sudo udevadm trigger --name-match=uinput";
    }
    return std::string(
               R"(echo 'SUBSYSTEM=="misc", KERNEL=="uinput", TAG+="uaccess", OPTIONS+="static_node=uinput"' | )") +
           "sudo tee /etc/udev/rules.d/" + kRuleName +
           " && sudo udevadm control --reload && sudo udevadm trigger --name-match=uinput";
}

/// The platform's sentence, of which the second half is a remedy of its own.
std::string Reason(const std::string& uinput, int error) {
    const std::string text = WhyUinputCannotBeOpened(uinput.c_str(), error);
    return text.substr(0, text.find("; "));
}

/// The file is read when a key's name is asked for first; what is wrong in it is told in messages.
void AddKeyMap(Notes& notes, Section& section) {
    std::error_code error;
    KeyText(0);
    if (std::filesystem::exists(KeyMapPath(), error)) {
        section.findings.push_back(Works("key map: " + KeyMapPath()));
    }
    for (const std::string& complaint : notes.NewErrors()) {
        section.findings.push_back(Lacks(complaint, "mend or delete that line"));
    }
}

bool ArePrinted() {
    const char* setting = std::getenv("QUORVEX_KEYS");
    return setting != nullptr && std::string(setting) == "print";
}

}  // namespace

Section LookAtKeys(const std::string& uinput, Notes& notes) {
    Section section{"keys", "Keys", {}};
    const gamepad::FileDescriptor node(open(uinput.c_str(), O_RDWR | O_CLOEXEC));
    if (node) {
        section.findings.push_back(Works(uinput + " can be opened: keys come from \"" + kVirtualKeyboardName + "\""));
    } else {
        const int error = errno;
        section.findings.push_back(Broken(Reason(uinput, error), RemedyFor(error)));
    }
    if (ArePrinted()) {
        section.findings.push_back(Lacks(
            "QUORVEX_KEYS=print: a service with this setting prints its keys and sends none", "unset QUORVEX_KEYS"));
    }
    AddKeyMap(notes, section);
    return section;
}

}  // namespace doctor
