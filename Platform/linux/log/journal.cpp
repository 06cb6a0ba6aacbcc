#include "log/journal.h"

#include <dlfcn.h>
#include <sys/uio.h>
#include <syslog.h>

#include <cstdio>

#include "platform/dlog.h"

namespace {

using SendFunction = int (*)(const iovec* fields, int count);
SendFunction sendFields = nullptr;

int SyslogPriority(int priority) {
    if (priority >= DLOG_ERROR) {
        return LOG_ERR;
    }
    return priority >= DLOG_INFO ? LOG_INFO : LOG_DEBUG;
}

// "NAME=value" in a buffer of its own; what does not fit is cut.
class Field {
public:
    Field(const char* name, const char* value) : length_(std::snprintf(text_, sizeof text_, "%s=%s", name, value)) {}
    iovec Bytes() { return {text_, length_ < kSize ? static_cast<size_t>(length_) : kSize - 1}; }

private:
    static constexpr int kSize = 128;
    char text_[kSize];
    int length_;
};

}  // namespace

bool IsJournalStream(const char* setting, const struct stat& status) {
    unsigned long long device = 0;
    unsigned long long inode = 0;
    char rest = 0;
    return setting != nullptr && std::sscanf(setting, "%llu:%llu%c", &device, &inode, &rest) == 2 &&
           device == status.st_dev && inode == status.st_ino;
}

// Loaded only here: with the libraries that it needs in turn, the client takes as much memory as a good part of the
// service, and doubles the time to start; whoever starts the service by hand has no use for it.
bool OpenJournal() {
    void* library = dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) {
        sendFields = reinterpret_cast<SendFunction>(dlsym(library, "sd_journal_sendv"));
    }
    return sendFields != nullptr;
}

// The plain function, not the header's macro: CODE_FILE and CODE_LINE would name this writer.
bool JournalSend(int priority, const char* tag, const char* buffer, const char* text, size_t length) {
    char level[] = "PRIORITY=0";
    level[sizeof level - 2] = static_cast<char>('0' + SyslogPriority(priority));
    Field identifier("SYSLOG_IDENTIFIER", tag);
    Field bufferName("QUORVEX_BUFFER", buffer);
    const iovec fields[] = {
        {level, sizeof level - 1}, identifier.Bytes(), bufferName.Bytes(), {const_cast<char*>(text), length}};
    return sendFields(fields, sizeof fields / sizeof fields[0]) == 0;
}
