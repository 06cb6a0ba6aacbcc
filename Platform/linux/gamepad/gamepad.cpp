#include "platform/gamepad.h"

#include <algorithm>
#include <exception>

#include "gamepad/connected_pads.h"
#include "gamepad/device_table.h"
#include "gamepad/hotplug.h"
#include "gamepad/listeners.h"
#include "gamepad/mapping/mapping.h"
#include "gamepad/pad.h"
#include "locks/locks.h"
#include "platform/dlog.h"

namespace {

struct Library {
    Lock lifecycle;  // one open or close at a time; never taken by the hot-plug thread
    gamepad::PadList pads;
    gamepad::Listeners listeners;
    mapping::Database database;
    gamepad::DeviceTable devices;
    gamepad::HotPlug hotplug{pads, listeners, database};
};

/// Never destroyed: a process that ends without gamepad_close leaves the hot-plug thread running until the very end.
Library& TheLibrary() {
    static Library& library = *new Library;
    return library;
}

/// The service is C to the outside: nothing is thrown through it.
template <typename Result, typename Operation>
Result Guarded(Result failure, Operation operation) {
    try {
        return operation(TheLibrary());
    } catch (const std::exception& problem) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "gamepad: %s", problem.what());
        return failure;
    }
}

int Code(bool success) {
    return success ? 1 : 0;
}

bool Close(Library& library) {
    if (gamepad::HotPlug::IsOwnThread()) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "gamepad_close called from a connection callback: ignored");
        return false;
    }
    const Hold hold(library.lifecycle);
    if (!library.hotplug.IsRunning()) {
        return false;
    }
    library.hotplug.Stop();
    library.devices.CloseAll();
    library.pads.Clear();
    library.listeners.Clear();
    return true;
}

bool Open(Library& library, int mode) {
    if (mode != GAMEPAD_MODE_MENU) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "gamepad: there is no mode %d", mode);
        return false;
    }
    if (gamepad::HotPlug::IsOwnThread()) {
        return true;
    }
    const Hold hold(library.lifecycle);
    return library.hotplug.IsRunning() || library.hotplug.Start();
}

}  // namespace

gamepad::PadList& gamepad::ConnectedPads() {
    return TheLibrary().pads;
}

int gamepad_open_for_custom_mode(int mode, int) {
    return Guarded(0, [mode](Library& library) { return Code(Open(library, mode)); });
}

int gamepad_close(void) {
    return Guarded(0, [](Library& library) { return Code(Close(library)); });
}

int gamepad_register_connection_callback(gamepad_connection_fn callback, void* user_data) {
    return Guarded(0, [&](Library& library) { return Code(library.listeners.Add(callback, user_data)); });
}

int gamepad_unregister_connection_callback(gamepad_connection_fn callback) {
    return Guarded(0, [callback](Library& library) { return Code(library.listeners.Remove(callback)); });
}

int gamepad_get_connected_gampad_count(void) {
    return Guarded(0, [](Library& library) { return library.pads.Count(); });
}

int gamepad_get_connected_device_Info(_gamepad_device_info_s* info, unsigned char* flag, int index) {
    return Guarded(0, [&](Library& library) {
        const gamepad::PadPointer pad = library.pads.At(index);
        if (pad == nullptr || info == nullptr) {
            return 0;
        }
        *info = {};
        pad->uid.copy(info->szUid, sizeof info->szUid - 1);
        if (flag != nullptr) {
            *flag = 1;
        }
        return 1;
    });
}

int gamepad_create_device(const char* uid, int* device_id) {
    return Guarded(0, [&](Library& library) {
        const gamepad::PadPointer pad = uid == nullptr || device_id == nullptr ? nullptr : library.pads.ByUid(uid);
        const int id = pad == nullptr ? -1 : library.devices.Open(pad, library.database);
        if (id >= 0) {
            *device_id = id;
        }
        return Code(id >= 0);
    });
}

int gamepad_destroy_device(int device_id) {
    return Guarded(0, [device_id](Library& library) { return Code(library.devices.Close(device_id)); });
}

int is_standard_gamepad(int device_id, bool* standard) {
    return Guarded(0, [&](Library& library) {
        const auto device = library.devices.Find(device_id);
        if (device == nullptr || standard == nullptr) {
            return 0;
        }
        *standard = device->IsStandard();
        return 1;
    });
}

int gamepad_get_abs_value_range(int device_id, int axis, int* maximum, int* minimum) {
    return Guarded(0, [&](Library& library) {
        const auto device = library.devices.Find(device_id);
        const auto limits = device == nullptr ? std::nullopt : device->LimitsOf(axis);
        if (!limits || maximum == nullptr || minimum == nullptr) {
            return 0;
        }
        *maximum = limits->maximum;
        *minimum = limits->minimum;
        return 1;
    });
}

int gamepad_get_events(int device_id, _gamepad_event_s* events, int* count) {
    return Guarded(0, [&](Library& library) {
        if (count == nullptr) {
            return 0;
        }
        const int capacity = std::max(*count, 0);
        *count = 0;
        const auto device = library.devices.Find(device_id);
        if (device == nullptr || events == nullptr) {
            return 0;
        }
        const bool was_gone = device->OfPad().gone;
        *count = device->TakeEvents(events, capacity);
        if (device->OfPad().gone && !was_gone) {
            library.hotplug.Wake();
        }
        return Code(*count > 0);
    });
}
