#include "gamepad/device_table.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace gamepad {
namespace {

std::shared_ptr<Device> OpenDevice(const PadPointer& pad, mapping::Database& database) {
    Evdev evdev = OpenEvdev(pad->node);
    if (evdev.device == nullptr) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "pad \"%s\" cannot be read: %s: %s", pad->name.c_str(),
                     pad->node.c_str(), std::strerror(evdev.error));
        return nullptr;
    }
    ChosenLayout layout = ChooseLayout(evdev.device.get(), database);
    return std::make_shared<Device>(std::move(evdev), pad, std::move(layout));
}

}  // namespace

int DeviceTable::Reserve(const PadPointer& pad) {
    const Hold hold(lock_);
    if (std::any_of(slots_.begin(), slots_.end(), [&pad](const Slot& slot) { return slot.pad == pad; })) {
        return -1;
    }
    auto free = std::find_if(slots_.begin(), slots_.end(), [](const Slot& slot) { return slot.pad == nullptr; });
    if (free == slots_.end()) {
        free = slots_.insert(slots_.end(), Slot{});
    }
    free->pad = pad;
    return static_cast<int>(free - slots_.begin());
}

int DeviceTable::Open(const PadPointer& pad, mapping::Database& database) {
    const int id = Reserve(pad);
    if (id < 0) {
        return -1;
    }
    std::shared_ptr<Device> device;
    try {
        device = OpenDevice(pad, database);
    } catch (...) {
        Close(id);
        throw;
    }
    if (device == nullptr) {
        Close(id);
        return -1;
    }
    const Hold hold(lock_);
    const bool still_mine = IsValidLocked(id) && slots_[static_cast<std::size_t>(id)].pad == pad;
    if (still_mine) {
        slots_[static_cast<std::size_t>(id)].device = std::move(device);
    }
    return still_mine ? id : -1;
}

bool DeviceTable::Close(int id) {
    Slot closed;  // the last reference may close the node: not under the lock
    const Hold hold(lock_);
    if (!IsValidLocked(id) || slots_[static_cast<std::size_t>(id)].pad == nullptr) {
        return false;
    }
    std::swap(closed, slots_[static_cast<std::size_t>(id)]);
    return true;
}

void DeviceTable::CloseAll() {
    std::vector<Slot> closed;
    const Hold hold(lock_);
    std::swap(closed, slots_);
}

std::shared_ptr<Device> DeviceTable::Find(int id) {
    const Hold hold(lock_);
    return IsValidLocked(id) ? slots_[static_cast<std::size_t>(id)].device : nullptr;
}

}  // namespace gamepad
