// How every message of the service is written: tag, prefix (file, function, line), level, buffer.
#ifndef COMMON_LOG_H
#define COMMON_LOG_H

#include "platform/assert.h"
#include "platform/dlog.h"

constexpr const char* LogBaseName(const char* path) {
    const char* base = path;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/') {
            base = at + 1;
        }
    }
    return base;
}

// The base name is a constant of its own, so that a message below the log's level costs no search for it.
#define LOG_FULL(buffer, level, function, line, format, ...)                                                  \
    do {                                                                                                      \
        static constexpr const char* kLogFile = LogBaseName(__FILE__);                                        \
        __dlog_print(buffer, level, "QVXD", "%s: %s(%d) > " format, kLogFile, function, line, ##__VA_ARGS__); \
    } while (false)

// A message of a helper that speaks for the operation `function`.
#define LOG_AS(function, line, level, format, ...) LOG_FULL(LOG_ID_MAIN, level, function, line, format, ##__VA_ARGS__)

#define LOGD(format, ...) LOG_AS(__func__, __LINE__, DLOG_DEBUG, format, ##__VA_ARGS__)
#define LOGI(format, ...) LOG_AS(__func__, __LINE__, DLOG_INFO, format, ##__VA_ARGS__)
#define LOGE(format, ...) LOG_AS(__func__, __LINE__, DLOG_ERROR, format, ##__VA_ARGS__)
#define LOGI_SYSTEM(format, ...) LOG_FULL(LOG_ID_SYSTEM, DLOG_INFO, __func__, __LINE__, format, ##__VA_ARGS__)

// Reports a misuse; the code after it runs all the same.
#define REPORT(expression) _ASSERT(expression, LogBaseName(__FILE__), __LINE__)

#endif
