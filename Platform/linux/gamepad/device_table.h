/// The pads that are open for reading, by device id.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gamepad/device.h"
#include "locks/locks.h"

namespace gamepad {

/// Ids start at 0; the lowest free one is taken, and none is given again while it is open.
///
/// Threads  any; one leaf lock, not held while a pad is opened.
class DeviceTable {
public:
    /// The new id; -1 when the pad is already open (two readers would each get half of its events) or does not open.
    int Open(const PadPointer& pad, mapping::Database& database);
    bool Close(int id);
    void CloseAll();
    std::shared_ptr<Device> Find(int id);  ///< null: not open

private:
    struct Slot {
        PadPointer pad;                  // null: free
        std::shared_ptr<Device> device;  // null while the pad is being opened
    };

    int Reserve(const PadPointer& pad);
    bool IsValidLocked(int id) const REQUIRES(lock_) { return id >= 0 && static_cast<std::size_t>(id) < slots_.size(); }

    Lock lock_;
    std::vector<Slot> slots_ GUARDED_BY(lock_);
};

}  // namespace gamepad
