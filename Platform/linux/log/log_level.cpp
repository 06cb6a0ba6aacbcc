#include "log/log_level.h"

#include <string_view>

#include "platform/dlog.h"

namespace {
constexpr int kLevels[] = {DLOG_DEBUG, DLOG_INFO, DLOG_ERROR};
}

LogLevel LogLevelFrom(const char* setting, bool terminal) {
    const int usual = terminal ? DLOG_INFO : DLOG_ERROR;
    const std::string_view word = setting == nullptr ? "" : setting;
    for (const int level : kLevels) {
        if (word == LogLevelName(level)) {
            return {level, true};
        }
    }
    return {usual, word.empty()};
}

const char* LogLevelName(int priority) {
    if (priority >= DLOG_ERROR) {
        return "error";
    }
    return priority >= DLOG_INFO ? "info" : "debug";
}
