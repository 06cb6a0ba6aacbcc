#include "gamepad/pad.h"

#include <algorithm>
#include <utility>

#include "gamepad/pad_identity.h"

namespace gamepad {

void PadList::Add(const PadPointer& pad, const std::string& uid_base) {
    const Hold hold(lock_);
    pad->uid = UniqueUid(uid_base, [this](const std::string& uid) REQUIRES(lock_) {
        return FindLocked([&uid](const Pad& other) { return other.uid == uid; }) != nullptr;
    });
    pads_.push_back(pad);
    TellLocked();
}

bool PadList::Remove(const PadPointer& pad) {
    const Hold hold(lock_);
    const auto found = std::find(pads_.begin(), pads_.end(), pad);
    if (found == pads_.end()) {
        return false;
    }
    pads_.erase(found);
    TellLocked();
    return true;
}

void PadList::Clear() {
    const Hold hold(lock_);
    pads_.clear();
    TellLocked();
}

void PadList::Observe(std::function<void()> on_change) {
    const Hold hold(lock_);
    on_change_ = std::move(on_change);
}

void PadList::TellLocked() const {
    if (on_change_) {
        on_change_();
    }
}

int PadList::Count() const {
    const Hold hold(lock_);
    return static_cast<int>(pads_.size());
}

PadPointer PadList::At(int index) const {
    const Hold hold(lock_);
    const bool exists = index >= 0 && static_cast<std::size_t>(index) < pads_.size();
    return exists ? pads_[static_cast<std::size_t>(index)] : nullptr;
}

PadPointer PadList::FindLocked(const std::function<bool(const Pad&)>& matches) const {
    const auto found = std::find_if(pads_.begin(), pads_.end(), [&](const PadPointer& pad) { return matches(*pad); });
    return found == pads_.end() ? nullptr : *found;
}

PadPointer PadList::Find(const std::function<bool(const Pad&)>& matches) const {
    const Hold hold(lock_);
    return FindLocked(matches);
}

PadPointer PadList::ByUid(const std::string& uid) const {
    return Find([&uid](const Pad& pad) { return pad.uid == uid; });
}

PadPointer PadList::ByNode(const std::string& node) const {
    return Find([&node](const Pad& pad) { return pad.node == node; });
}

PadPointer PadList::BySyspath(const std::string& syspath) const {
    return Find([&syspath](const Pad& pad) { return pad.syspath == syspath; });
}

std::vector<PadPointer> PadList::All() const {
    const Hold hold(lock_);
    return pads_;
}

}  // namespace gamepad
