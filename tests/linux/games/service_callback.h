/// The service's side of the list of games.
#pragma once

#include <sys/types.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "child.h"
#include "platform/gamepad.h"
#include "told.h"

using Notice = std::pair<int, pid_t>;  // GAMEAPP_OPENED or GAMEAPP_CLOSED, and of which process

inline Notice Opened(const Child& game) {
    return {GAMEAPP_OPENED, game.Pid()};
}

inline Notice Closed(pid_t pid) {
    return {GAMEAPP_CLOSED, pid};
}

/// The callback; user_data is a Told<Notice>.
inline void TellNotice(int type, int pid, void* told) {
    static_cast<Told<Notice>*>(told)->Add({type, pid});
}

inline std::string ListedGames() {
    char* text = nullptr;
    const int result = gamepad_get_all_gameapp_info_list(&text);
    std::string list = result == 1 ? text : "failed";
    free(text);
    return list;
}
