#include "gamepad/listeners.h"

#include <algorithm>

namespace gamepad {

bool Listeners::Add(gamepad_connection_fn callback, void* user_data) {
    const Hold hold(lock_);
    const bool is_known = std::any_of(listeners_.begin(), listeners_.end(),
                                      [callback](const Listener& known) { return known.callback == callback; });
    if (callback == nullptr || is_known) {
        return false;
    }
    listeners_.push_back({callback, user_data});
    return true;
}

bool Listeners::Remove(gamepad_connection_fn callback) {
    Hold hold(lock_);
    const auto found = std::find_if(listeners_.begin(), listeners_.end(),
                                    [callback](const Listener& known) { return known.callback == callback; });
    if (found == listeners_.end()) {
        return false;
    }
    listeners_.erase(found);
    ended_.wait(hold.Waiting(),
                [&]() REQUIRES(lock_) { return running_ != callback || runner_ == std::this_thread::get_id(); });
    return true;
}

void Listeners::Clear() {
    const Hold hold(lock_);
    listeners_.clear();
}

std::vector<Listeners::Listener> Listeners::Snapshot() {
    const Hold hold(lock_);
    return listeners_;
}

/// False: removed since the snapshot was taken, perhaps by the callback before.
bool Listeners::Begin(const Listener& listener) {
    const Hold hold(lock_);
    const bool is_known = std::any_of(listeners_.begin(), listeners_.end(), [&listener](const Listener& known) {
        return known.callback == listener.callback && known.user_data == listener.user_data;
    });
    if (is_known) {
        running_ = listener.callback;
        runner_ = std::this_thread::get_id();
    }
    return is_known;
}

void Listeners::End() {
    const Hold hold(lock_);
    running_ = nullptr;
    ended_.notify_all();
}

void Listeners::Notify(int type, const _gamepad_device_info_s& info) {
    for (const Listener& listener : Snapshot()) {
        if (Begin(listener)) {
            listener.callback(type, info, listener.user_data);
            End();
        }
    }
}

}  // namespace gamepad
