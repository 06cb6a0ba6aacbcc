#include "virtual_key/print_sink.h"

#include <cerrno>
#include <string>

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
    const std::string line =
        KeyName(platformCode) + ' ' + std::to_string(platformCode) + ' ' + ActionName(action) + '\n';
    return lines_.Write(line.data(), line.size()) ? 0 : -EIO;
}
