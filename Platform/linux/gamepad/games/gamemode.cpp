#include "gamepad/games/gamemode.h"

#include <algorithm>
#include <utility>

#include "platform/dlog.h"

namespace games {
namespace {

constexpr char kName[] = "com.feralinteractive.GameMode";
constexpr char kPath[] = "/com/feralinteractive/GameMode";

Bus::Member Member(const char* name) {
    return {kName, kPath, kName, name};
}

/// Hands on the process of a signal that starts with one.
Bus::SignalFunction WithPid(const std::function<void(pid_t)>& handle) {
    return [&handle](sd_bus_message* signal) {
        int32_t pid = 0;
        if (SdBus().sd_bus_message_read(signal, "i", &pid) > 0) {
            handle(pid);
        }
    };
}

}  // namespace

/// The signals are subscribed to before the list is asked for, which happens once there is an owner: nothing is missed.
GameMode::GameMode(GMainContext* context, Callbacks callbacks)
    : callbacks_(std::move(callbacks)), bus_(context, Bus::Kind::kSession) {
    bus_.WatchName(kName, [this](bool is_owned) { OwnerChanged(is_owned); });
    bus_.Subscribe(Member("GameRegistered"), WithPid(callbacks_.on_registered));
    bus_.Subscribe(Member("GameUnregistered"), WithPid(callbacks_.on_unregistered));
}

/// A daemon that goes takes its list with it without a word about the games.
void GameMode::OwnerChanged(bool is_owned) {
    if (is_owned == is_there_) {
        return;
    }
    is_there_ = is_owned;
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "GameMode: %s", is_owned ? "there" : "gone, and its games with it");
    if (is_owned) {
        AskForList();
    } else {
        callbacks_.on_list({});
    }
}

void GameMode::AskForList() {
    bus_.Call(Member("ListGames"), {}, [this](sd_bus_message* reply) {
        if (is_there_) {
            ReadList(reply);
        }
    });
}

void GameMode::ReadList(sd_bus_message* reply) {
    std::vector<pid_t> pids;
    int result = reply == nullptr ? -1 : SdBus().sd_bus_message_enter_container(reply, 'a', "(io)");
    while (result > 0) {
        int32_t pid = 0;
        const char* object = nullptr;
        result = SdBus().sd_bus_message_read(reply, "(io)", &pid, &object);
        if (result > 0) {
            pids.push_back(pid);
        }
    }
    if (result < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "GameMode does not list its games: those registered before now are not known");
        return;
    }
    std::reverse(pids.begin(), pids.end());  // it lists the newest first
    callbacks_.on_list(pids);
}

}  // namespace games
