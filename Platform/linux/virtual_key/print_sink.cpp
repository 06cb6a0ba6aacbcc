#include "virtual_key/print_sink.h"

#include <cerrno>
#include <cstdio>

#include "platform/virtual_key.h"
#include "virtual_key/key_codes.h"

namespace {

const char* ActionName(int action) {
    switch (action) {
        case KEY_ACTION_RELEASE:
            return "release";
        case KEY_ACTION_PRESS:
            return "press";
        default:
            return "press+release";
    }
}

}  // namespace

int PrintSink::Send(int platformCode, int action) {
    char line[80];
    const int length =
        std::snprintf(line, sizeof line, "%s %d %s\n", KeyName(platformCode).c_str(), platformCode, ActionName(action));
    return lines_.Write(line, static_cast<size_t>(length)) ? 0 : -EIO;
}
