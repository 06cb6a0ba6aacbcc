/// One connected pad, and the list of all of them.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "locks/locks.h"

namespace gamepad {

/// One connection of one pad: a pad that comes back is another Pad, mostly with the same uid. Everything but gone is
/// fixed before it is shared.
struct Pad {
    std::string uid;
    std::string name;
    std::string node;               // /dev/input/eventN; N is taken by another device as soon as this one is gone
    std::string syspath;            // never used twice while the machine runs
    std::string layout;             // for people
    std::atomic<bool> gone{false};  // seen to be unplugged, perhaps before the notice of it went out
};
using PadPointer = std::shared_ptr<Pad>;

/// The connected pads, in the order in which they came.
///
/// Threads  any; one leaf lock. Only the hot-plug thread (and, before it runs, gamepad_open_for_custom_mode) changes
///          the list.
class PadList {
public:
    /// Gives the pad its uid: uid_base, or with a suffix where another connected pad has that.
    void Add(const PadPointer& pad, const std::string& uid_base);
    bool Remove(const PadPointer& pad);  ///< false: it was not in the list (any more)
    void Clear();

    /// Whom to tell of each change from now on; null: nobody. Called with the lock held, so it may only pass the news
    /// on, and nobody is told any more once this returns.
    void Observe(std::function<void()> on_change);

    int Count() const;
    PadPointer At(int index) const;  ///< null: no such index
    PadPointer ByUid(const std::string& uid) const;
    PadPointer ByNode(const std::string& node) const;
    PadPointer BySyspath(const std::string& syspath) const;
    std::vector<PadPointer> All() const;

private:
    PadPointer FindLocked(const std::function<bool(const Pad&)>& matches) const REQUIRES(lock_);
    PadPointer Find(const std::function<bool(const Pad&)>& matches) const;
    void TellLocked() const REQUIRES(lock_);

    mutable Lock lock_;
    std::function<void()> on_change_ GUARDED_BY(lock_);
    std::vector<PadPointer> pads_ GUARDED_BY(lock_);
};

}  // namespace gamepad
