#include "settings/key_file.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "tzplatform/base_directory.h"

namespace {

// Room in a file name (255 bytes) for the suffix of the temporary file that replaces it.
constexpr size_t kMaxKeyBytes = 240;
// No setting comes near it, and reading one stays cheap whatever is put in its place.
constexpr size_t kMaxFileBytes = 65536;
constexpr int kFileMode = 0600;
constexpr int kDirectoryMode = 0700;
// How often a directory may vanish between its making and its use.
constexpr int kWriteAttempts = 10;

class File {
public:
    explicit File(const char* path) : fd_(open(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC)) {}
    ~File() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    int Fd() const { return fd_; }

private:
    const int fd_;
};

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool HasControlCharacter(const std::string& text) {
    for (const char c : text) {
        if (g_ascii_iscntrl(c)) {
            return true;
        }
    }
    return false;
}

bool StaysBelowItsDirectory(const std::string& key) {
    size_t begin = 0;
    while (begin <= key.size()) {
        const size_t end = std::min(key.find('/', begin), key.size());
        const std::string part = key.substr(begin, end - begin);
        if (part.empty() || part == "." || part == "..") {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

const char* WhyNoKey(const std::string& key) {
    if (key.size() > kMaxKeyBytes) {
        return "longer than 240 bytes";
    }
    if (!IsText(key) || HasControlCharacter(key)) {
        return "not plain text";
    }
    return StaysBelowItsDirectory(key) ? nullptr : "not of the form name/name/name";
}

Problem UnreadableFile(const std::string& path, const std::string& why) {
    return {path, path + ": " + why + "; it is not used"};
}

Reading Failed(const std::string& path, const std::string& why) {
    Reading reading;
    reading.path = path;
    reading.problem = UnreadableFile(path, why);
    return reading;
}

Reading NotOpened(const std::string& path, int error) {
    if (error == ENOENT) {
        Reading unset;
        unset.path = path;
        return unset;
    }
    return Failed(path, error == ELOOP ? "is a symbolic link" : g_strerror(error));
}

// One byte more than allowed is read to notice a file that grows meanwhile.
bool ReadAll(int fd, std::string& text) {
    text.resize(kMaxFileBytes + 1);
    size_t length = 0;
    while (length < text.size()) {
        const ssize_t got = read(fd, &text[length], text.size() - length);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return false;
        }
        if (got == 0) {
            break;
        }
        length += static_cast<size_t>(got);
    }
    text.resize(length);
    return true;
}

Reading Interpret(const std::string& path, const std::string& text) {
    Reading reading;
    reading.path = path;
    reading.value = ParseValue(text);
    reading.empty = text.empty();
    if (!reading.value) {
        const bool ended = !text.empty() && text.back() == '\n';
        reading.problem = UnreadableFile(path, "cannot understand " + Quoted(text.substr(0, text.size() - ended)) +
                                                   " (write " + ExampleOf<int>() + ", " + ExampleOf<bool>() + ", or " +
                                                   ExampleOf<std::string>() + ')');
    }
    return reading;
}

Problem NoRuntimeDirectory(const char* value) {
    const std::string found = value == nullptr || value[0] == '\0' ? "is not set" : "is not absolute: " + Quoted(value);
    return {"XDG_RUNTIME_DIR " + found,
            "XDG_RUNTIME_DIR " + found + " (a login session sets it): no setting below memory/ can be used"};
}

Problem Unwritten(const std::string& key, const std::string& path, const std::string& why) {
    return {"set " + key, path + ": cannot write: " + why + "; the setting keeps its value"};
}

// GLib names its temporary file first, another one each time.
std::string ReasonIn(const std::string& message) {
    const size_t colon = message.rfind(": ");
    return colon == std::string::npos ? message : message.substr(colon + 2);
}

// Empty, or why the file could not be replaced; gone says that its directory vanished meanwhile.
std::string ReplaceOnce(const std::string& path, const std::string& text, GFileSetContentsFlags flags, bool& gone) {
    if (g_mkdir_with_parents(path.substr(0, path.rfind('/')).c_str(), kDirectoryMode) != 0) {
        gone = errno == ENOENT;
        return std::string("its directory cannot be made: ") + g_strerror(errno);
    }
    GError* error = nullptr;
    g_file_set_contents_full(path.c_str(), text.data(), static_cast<gssize>(text.size()), flags, kFileMode, &error);
    std::string why = error == nullptr ? "" : ReasonIn(error->message);
    gone = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) != FALSE;
    g_clear_error(&error);
    return why;
}

std::string Replace(const std::string& path, const std::string& text, GFileSetContentsFlags flags) {
    std::string why;
    bool gone = true;
    for (int attempt = 0; attempt < kWriteAttempts && gone; ++attempt) {
        why = ReplaceOnce(path, text, flags, gone);
    }
    return why;
}

// Without CONSISTENT the file would be written in place: for a moment half new, and never made shorter.
GFileSetContentsFlags FlagsFor(const std::string& key) {
    const int durable = StartsWith(key, "db/") ? G_FILE_SET_CONTENTS_DURABLE : 0;
    return static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | durable);
}

// Empty, or why the value cannot be stored at all.
std::string Unstorable(const Value& value) {
    const std::string* text = std::get_if<std::string>(&value);
    if (text != nullptr && !IsText(*text)) {
        return "not UTF-8: " + Quoted(*text);
    }
    return FormatValue(value).size() < kMaxFileBytes ? "" : "longer than 65536 bytes";
}

}  // namespace

std::variant<std::string, Problem> LocateKey(const std::string& key) {
    if (const char* why = WhyNoKey(key)) {
        return Problem{"key " + key, "settings: " + Quoted(key) + " is refused as a key: " + why};
    }
    if (!StartsWith(key, "memory/")) {
        return BaseDirectory("XDG_STATE_HOME", ".local/state") + "/quorvex/" + key;
    }
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime == nullptr || runtime[0] != '/') {
        return NoRuntimeDirectory(runtime);
    }
    return std::string(runtime) + "/quorvex/" + key;
}

Reading ReadKey(const std::string& key) {
    const auto place = LocateKey(key);
    if (const Problem* problem = std::get_if<Problem>(&place)) {
        Reading reading;
        reading.problem = *problem;
        return reading;
    }
    return ReadKeyFile(std::get<std::string>(place));
}

Reading ReadKeyFile(const std::string& path) {
    const File file(path.c_str());
    if (file.Fd() < 0) {
        return NotOpened(path, errno);
    }
    struct stat status {};
    if (fstat(file.Fd(), &status) != 0) {
        return Failed(path, g_strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return Failed(path, S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file");
    }
    std::string text;
    if (!ReadAll(file.Fd(), text)) {
        return Failed(path, g_strerror(errno));
    }
    return text.size() > kMaxFileBytes ? Failed(path, "is longer than 65536 bytes") : Interpret(path, text);
}

std::optional<Problem> WriteKey(const std::string& key, const Value& value) {
    const auto place = LocateKey(key);
    if (const Problem* problem = std::get_if<Problem>(&place)) {
        return *problem;
    }
    const std::string& path = std::get<std::string>(place);
    std::string why = Unstorable(value);
    if (why.empty()) {
        why = Replace(path, FormatValue(value) + '\n', FlagsFor(key));
    }
    return why.empty() ? std::nullopt : std::optional<Problem>(Unwritten(key, path, why));
}
