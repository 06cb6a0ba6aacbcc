/// The games that are registered with GameMode.
#pragma once

#include <glib.h>
#include <sys/types.h>

#include <functional>
#include <vector>

#include "bus/bus.h"

namespace games {

/// Threads  made and destroyed on the context's thread, where the callbacks arrive; they must not destroy this.
/// Errors   without a bus or a daemon there are no games, and both may come later. A daemon is never started from here.
class GameMode {
public:
    struct Callbacks {
        std::function<void(pid_t)> on_registered;
        std::function<void(pid_t)> on_unregistered;
        std::function<void(const std::vector<pid_t>&)> on_list;  ///< all that are registered, oldest first
    };

    GameMode(GMainContext* context, Callbacks callbacks);
    GameMode(const GameMode&) = delete;
    GameMode& operator=(const GameMode&) = delete;

private:
    void OwnerChanged(bool is_owned);
    void AskForList();
    void ReadList(sd_bus_message* reply);

    const Callbacks callbacks_;
    bool is_there_ = false;
    Bus bus_;
};

}  // namespace games
