// Hands the list of games to the service.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <list>

#include "events/events_thread.h"
#include "gamepad/games/game_list.h"
#include "platform/dlog.h"
#include "platform/gamepad.h"

namespace {

class Registration {
public:
    Registration(gamepad_gameapp_status_fn callback, void* user_data)
        : callback_(callback),
          list_([callback, user_data](
                    pid_t pid, bool is_open) { callback(is_open ? GAMEAPP_OPENED : GAMEAPP_CLOSED, pid, user_data); },
                games::GameList::Turn::kService) {}

    bool Is(gamepad_gameapp_status_fn callback) const { return callback_ == callback; }

private:
    const gamepad_gameapp_status_fn callback_;
    const games::GameList list_;
};

/// Only the thread "platform-events" touches them, so they need no lock, and a callback that runs has returned before
/// they change, unless it changes them itself.
std::list<Registration>& Registrations() {
    static auto& registrations = *new std::list<Registration>;
    return registrations;
}

auto Find(gamepad_gameapp_status_fn callback) {
    return std::find_if(Registrations().begin(), Registrations().end(),
                        [callback](const Registration& registration) { return registration.Is(callback); });
}

bool Register(gamepad_gameapp_status_fn callback, void* user_data) {
    if (Find(callback) != Registrations().end()) {
        return false;
    }
    Registrations().emplace_back(callback, user_data);
    return true;
}

bool Unregister(gamepad_gameapp_status_fn callback) {
    const auto found = Find(callback);
    if (found == Registrations().end()) {
        return false;
    }
    Registrations().erase(found);
    return true;
}

/// The work's answer; false when it cannot be done.
template <typename Work>
bool OnEvents(const Work& work) {
    bool result = false;
    const EventsThread thread;
    thread.Run([&] {
        try {
            result = work();
        } catch (const std::exception& problem) {
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "games are not noticed: %s", problem.what());
        }
    });
    return result;
}

}  // namespace

int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn callback, void* user_data) {
    return callback != nullptr && OnEvents([=] { return Register(callback, user_data); }) ? 1 : 0;
}

int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn callback) {
    return callback != nullptr && OnEvents([=] { return Unregister(callback); }) ? 1 : 0;
}

int gamepad_get_all_gameapp_info_list(char** text) {
    if (text == nullptr) {
        return 0;
    }
    *text = strdup(games::GameList::Text().c_str());
    return *text != nullptr ? 1 : 0;
}
