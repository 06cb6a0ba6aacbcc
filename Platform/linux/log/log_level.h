/// The least level that is logged.
#pragma once

struct LogLevel {
    int least;        ///< a log_priority; messages below it are dropped before they are formatted
    bool understood;  ///< false: the value names no level, the default holds
};

/// setting: the value of QUORVEX_LOG ("debug", "info" or "error"), null or empty where it is not set.
/// The default is "info" for a person at a terminal and "error" for everything that collects logs.
LogLevel LogLevelFrom(const char* setting, bool terminal);

/// The level's word, as QUORVEX_LOG and the lines spell it. Priorities between two levels count as the lower one.
const char* LogLevelName(int priority);
