#include "tzplatform/base_directory.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace {

bool IsAbsolute(const char* path) {
    return path != nullptr && path[0] == '/';
}

std::string HomeFromPasswords() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr && IsAbsolute(found->pw_dir) ? found->pw_dir : "/";
}

}  // namespace

std::string BaseDirectory(const char* variable, const char* fallback) {
    const char* value = std::getenv(variable);
    if (IsAbsolute(value)) {
        return value;
    }
    const std::string home = HomeDirectory();
    return (home.back() == '/' ? home : home + '/') + fallback;
}

std::string HomeDirectory() {
    const char* home = std::getenv("HOME");
    return IsAbsolute(home) ? home : HomeFromPasswords();
}
