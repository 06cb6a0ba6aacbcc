#include "gamepad/pad_finder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "gamepad/layout.h"
#include "gamepad/pad_classifier.h"
#include "gamepad/pad_identity.h"
#include "platform/dlog.h"

namespace gamepad {
namespace {

_gamepad_device_info_s InfoOf(const Pad& pad) {
    _gamepad_device_info_s info{};
    pad.uid.copy(info.szUid, sizeof info.szUid - 1);
    return info;
}

const char* AdviceFor(int error) {
    return error == EACCES || error == EPERM
               ? ": log in at this machine itself, or add this user to the group \"input\" and log in again"
               : "";
}

}  // namespace

void PadFinder::Consider(const Candidate& candidate) {
    if (pads_.BySyspath(candidate.syspath) != nullptr) {
        return;
    }
    if (const PadPointer former = pads_.ByNode(candidate.node)) {
        Disconnect(former);
    }
    const Evdev evdev = OpenEvdev(candidate.node);
    if (evdev.device == nullptr) {
        Refuse(candidate, evdev.error);
        return;
    }
    refused_.erase(candidate.node);
    if (IsPad(evdev.device.get())) {
        Connect(candidate, evdev);
    }
}

/// Where nobody knows what the node is before it can be opened, one message stands for all of them: most are
/// keyboards and mice that a service has no business with.
void PadFinder::Refuse(const Candidate& candidate, int error) {
    const bool vanished = error == ENOENT || error == ENODEV || error == ENXIO;
    const bool is_worth_telling = candidate.udev_calls_it_pad || refused_.empty();
    if (vanished || !refused_.insert(candidate.node).second || !is_worth_telling) {
        return;
    }
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s %s cannot be opened: %s%s",
                 candidate.udev_calls_it_pad ? "the pad at" : "if a pad does not show up: input device",
                 candidate.node.c_str(), std::strerror(error), AdviceFor(error));
}

void PadFinder::Connect(const Candidate& candidate, const Evdev& evdev) {
    const auto pad = std::make_shared<Pad>();
    pad->name = Printable(libevdev_get_name(evdev.device.get()));
    pad->node = candidate.node;
    pad->syspath = candidate.syspath;
    pad->layout = ChooseLayout(evdev.device.get(), database_).description;
    pads_.Add(pad, BaseUid(evdev.device.get(), candidate.id_path, candidate.syspath));
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "pad connected: \"%s\" at %s, %s [%s]", pad->name.c_str(),
                 pad->node.c_str(), pad->layout.c_str(), pad->uid.c_str());
    listeners_.Notify(GAMEPAD_CONNECTED, InfoOf(*pad));
}

void PadFinder::Disconnect(const PadPointer& pad) {
    pad->gone = true;
    if (!pads_.Remove(pad)) {
        return;
    }
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "pad disconnected: \"%s\" [%s]", pad->name.c_str(), pad->uid.c_str());
    listeners_.Notify(GAMEPAD_DISCONNECTED, InfoOf(*pad));
}

/// An open pad goes on telling whatever became of the rights, and its keys would go to the other user's session.
void PadFinder::LetGoIfForbidden(const std::string& node) {
    const PadPointer pad = pads_.ByNode(node);
    if (pad == nullptr || faccessat(AT_FDCWD, node.c_str(), R_OK, AT_EACCESS) == 0 || errno != EACCES) {
        return;
    }
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "the pad at %s may not be read any more; it is let go until it may",
                 node.c_str());
    refused_.insert(node);
    Disconnect(pad);
}

void PadFinder::DisconnectGone() {
    for (const PadPointer& pad : pads_.All()) {
        if (pad->gone) {
            Disconnect(pad);
        }
    }
}

}  // namespace gamepad
