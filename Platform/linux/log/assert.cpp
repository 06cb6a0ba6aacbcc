#include "platform/assert.h"

#include <cstring>

#include "platform/dlog.h"

// Only tells: a misuse that is survivable must not end a service that the whole screen depends on.
void _ASSERT(const char* expression, const char* file, int line) {
    const char* slash = file == nullptr ? nullptr : std::strrchr(file, '/');
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s(%d) > assertion failed: %s", slash == nullptr ? file : slash + 1,
                 line, expression);
}
