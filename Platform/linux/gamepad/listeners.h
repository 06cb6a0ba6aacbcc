/// Who wants to know about connections.
#pragma once

#include <condition_variable>
#include <thread>
#include <vector>

#include "locks/locks.h"
#include "platform/gamepad.h"

namespace gamepad {

/// Threads  Notify: the hot-plug thread only. Add, Remove, Clear: any thread, also from inside a callback. No lock is
///          held while a callback runs, so callbacks may call every function of the library but gamepad_close.
class Listeners {
public:
    bool Add(gamepad_connection_fn callback, void* user_data);  ///< false: null, or registered already
    /// Waits for this callback to return if it runs on another thread right now; it is not called again afterwards.
    bool Remove(gamepad_connection_fn callback);
    void Clear();
    void Notify(int type, const _gamepad_device_info_s& info);

private:
    struct Listener {
        gamepad_connection_fn callback;
        void* user_data;
    };

    std::vector<Listener> Snapshot();
    bool Begin(const Listener& listener);
    void End();

    Lock lock_;
    std::condition_variable ended_;
    std::vector<Listener> listeners_ GUARDED_BY(lock_);
    gamepad_connection_fn running_ GUARDED_BY(lock_) = nullptr;
    std::thread::id runner_ GUARDED_BY(lock_);
};

}  // namespace gamepad
