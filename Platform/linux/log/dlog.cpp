#include "platform/dlog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "log/journal.h"
#include "log/line_writer.h"
#include "log/log_level.h"
#include "log/log_text.h"

namespace {

constexpr char kOwnTag[] = "QVXD";
constexpr char kMessageField[] = "MESSAGE=";

LineWriter standardError(STDERR_FILENO);

enum class Destination { kNowhere, kStandardError, kJournal };

struct Log {
    int least;
    Destination destination;
};

// Standard error that is closed stays out of use: the next file to be opened gets its number, a pad or the virtual
// keyboard for example, and must not receive messages.
Destination FindDestination() {
    struct stat status;
    if (fstat(STDERR_FILENO, &status) != 0) {
        return Destination::kNowhere;
    }
    const bool journal = IsJournalStream(std::getenv("JOURNAL_STREAM"), status) && OpenJournal();
    return journal ? Destination::kJournal : Destination::kStandardError;
}

const char* BufferName(log_id_t id) {
    return id == LOG_ID_SYSTEM ? "system" : "main";
}

int WriteToStandardError(log_id_t id, int priority, const char* tag, const char* message, size_t length) {
    LogText line;
    line.Append(LogLevelName(priority));
    line.Append(id == LOG_ID_SYSTEM ? " [system] " : " ");
    line.Append(tag);
    line.Append(": ");
    line.Append(message, length);
    line.EndLine();
    return standardError.Write(line.Data(), line.Size()) ? 0 : -1;
}

int WriteToJournal(log_id_t id, int priority, const char* tag, const char* message, size_t length) {
    LogText field;
    field.Append(kMessageField);
    field.Append(message, length);
    const bool sent = JournalSend(priority, tag, BufferName(id), field.Data(), field.Size());
    return sent ? 0 : WriteToStandardError(id, priority, tag, message, length);
}

int Write(const Log& log, log_id_t id, int priority, const char* tag, const char* message, size_t length) {
    switch (log.destination) {
        case Destination::kJournal:
            return WriteToJournal(id, priority, tag, message, length);
        case Destination::kStandardError:
            return WriteToStandardError(id, priority, tag, message, length);
        case Destination::kNowhere:
            break;
    }
    return -1;
}

Log OpenLog() {
    const int callersErrno = errno;
    const char* setting = std::getenv("QUORVEX_LOG");
    const LogLevel level = LogLevelFrom(setting, isatty(STDERR_FILENO) == 1);
    const Log log{level.least, FindDestination()};
    if (!level.understood) {
        char text[256];
        std::snprintf(text, sizeof text, "QUORVEX_LOG=%.64s is none of debug, info, error: logging from %s on", setting,
                      LogLevelName(level.least));
        Write(log, LOG_ID_MAIN, DLOG_ERROR, kOwnTag, text, std::strlen(text));
    }
    errno = callersErrno;
    return log;
}

// Opened by the first message, whichever thread it comes from.
const Log& TheLog() {
    static const Log log = OpenLog();
    return log;
}

// What vsnprintf made of the message: how much of it is in the buffer, or the bare format where it made nothing. A text
// that was cut by the buffer is cut again, with a mark, where its line is put together.
size_t TextLength(int formatted, char* buffer, size_t size, const char* format) {
    if (formatted < 0) {
        std::snprintf(buffer, size, "(cannot be formatted) %s", format);
        return std::strlen(buffer);
    }
    return std::min(static_cast<size_t>(formatted), size - 1);
}

}  // namespace

int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* format, ...) {
    const Log& log = TheLog();
    if (priority < log.least) {
        return 0;
    }
    const int callersErrno = errno;
    char message[LogText::kCapacity];
    va_list arguments;
    va_start(arguments, format);
    const int formatted = std::vsnprintf(  // NOLINT(clang-analyzer-valist.Uninitialized): it is, a line above
        message, sizeof message, format, arguments);
    va_end(arguments);
    const size_t length = TextLength(formatted, message, sizeof message, format);
    const int result = Write(log, log_id, priority, tag == nullptr ? kOwnTag : tag, message, length);
    errno = callersErrno;
    return result;
}
