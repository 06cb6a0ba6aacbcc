/// Keeps the list of connected pads true, and tells the listeners.
#pragma once

#include <set>
#include <string>

#include "gamepad/evdev.h"
#include "gamepad/listeners.h"
#include "gamepad/mapping/mapping.h"
#include "gamepad/pad.h"

namespace gamepad {

/// An event node that may be a pad.
struct Candidate {
    std::string node;
    std::string syspath;
    std::string id_path;  // udev's; empty: unknown
    bool udev_calls_it_pad = false;
};

/// Threads  the hot-plug thread, and gamepad_open_for_custom_mode before that runs.
class PadFinder {
public:
    PadFinder(PadList& pads, Listeners& listeners, mapping::Database& database)
        : pads_(pads), listeners_(listeners), database_(database) {}

    /// Opens the node and, if it is a pad that is not in the list, adds it.
    void Consider(const Candidate& candidate);

    /// The pad is no longer there: delivers its disconnection, once, whoever noticed it first.
    void Disconnect(const PadPointer& pad);
    void DisconnectGone();  ///< all pads that a read found unplugged

    /// Lets a pad go whose node this user may not read any more: another user's session is shown. Once the rights are
    /// back, the node counts as refused, and is considered again.
    void LetGoIfForbidden(const std::string& node);

    /// Whether the node could not be opened when it was considered last.
    bool WasRefused(const std::string& node) const { return refused_.count(node) != 0; }
    void Forget(const std::string& node) { refused_.erase(node); }
    void ForgetAll() { refused_.clear(); }

private:
    void Refuse(const Candidate& candidate, int error);
    void Connect(const Candidate& candidate, const Evdev& evdev);

    PadList& pads_;
    Listeners& listeners_;
    mapping::Database& database_;
    std::set<std::string> refused_;  // node names
};

}  // namespace gamepad
