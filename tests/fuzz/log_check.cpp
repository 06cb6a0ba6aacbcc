// The platform's log in fuzz targets: nothing is written, but each message is put together as it would be, and must be
// one line that is safe to show, whatever the text in it came from.

#include <glib.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "fuzz.h"
#include "log/log_text.h"
#include "platform/dlog.h"

namespace {

bool IsSafe(const char* line, std::size_t size) {
    if (g_utf8_validate_len(line, size, nullptr) == FALSE) {
        return false;
    }
    for (const char* at = line; at < line + size; at = g_utf8_next_char(at)) {
        if (g_unichar_iscntrl(g_utf8_get_char(at)) != FALSE) {
            return false;
        }
    }
    return true;
}

void Check(const char* tag, const char* message) {
    LogText line;
    line.Append(tag);
    line.Append(": ");
    line.Append(message);
    line.EndLine();
    fuzz::Require(line.Data()[line.Size() - 1] == '\n', "a log message ends its line");
    fuzz::Require(IsSafe(line.Data(), line.Size() - 1), "a log message is one line of printable text");
}

}  // namespace

int __dlog_print(log_id_t, int, const char* tag, const char* format, ...) {
    char message[LogText::kCapacity];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    fuzz::Require(length >= 0, "a log message can be formatted");
    Check(tag, message);
    return 0;
}
