// Game applications are not known here yet: none is ever reported, and the list of those that run is empty.
#include <cstdlib>

#include "platform/gamepad.h"

int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn callback, void*) {
    return callback != nullptr ? 1 : 0;
}

int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn callback) { return callback != nullptr ? 1 : 0; }

int gamepad_get_all_gameapp_info_list(char** text) {
    if (text == nullptr) {
        return 0;
    }
    *text = static_cast<char*>(std::calloc(1, 1));
    return *text != nullptr ? 1 : 0;
}
