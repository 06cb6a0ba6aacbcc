// What /proc tells of a process that has chosen its names, its environment and its groups itself.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <map>

#include "aul/application_id.h"
#include "fuzz.h"
#include "gamepad/games/processes.h"

namespace {

constexpr pid_t kProcess = 4711;
const std::string kFolder = "/proc/4711/";

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    return folder;
}

std::string gExecutable;

/// "" for what is not a file of the process.
std::string FileOf(const char* path) {
    const bool isOurs = std::strncmp(path, kFolder.c_str(), kFolder.size()) == 0;
    return isOurs ? Home().Path() + "/proc/" + (path + kFolder.size()) : "";
}

}  // namespace

extern "C" {
int __wrap_open(const char* path, int flags, ...);
int __real_open(const char* path, int flags, ...);
int __wrap_open64(const char* path, int flags, ...);  // the same, for large files where words have 32 bits
ssize_t __wrap_readlink(const char* path, char* target, size_t size);
}

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    const std::string file = FileOf(path);
    return __real_open(file.empty() ? path : file.c_str(), flags, mode);
}

int __wrap_open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    return __wrap_open(path, flags, mode);
}

// As the kernel does it: what does not fit is cut, and no 0 is added.
ssize_t __wrap_readlink(const char* path, char* target, size_t size) {
    fuzz::Require(path == kFolder + "exe", "no other link is read");
    const size_t length = std::min(size, gExecutable.size());
    std::memcpy(target, gExecutable.data(), length);
    return static_cast<ssize_t>(length);
}

namespace {

void ExpectDesktopEntry(const std::string& id) {
    fuzz::Require(id.empty() || (id.size() > 8 && id.compare(id.size() - 8, 8, ".desktop") == 0),
                  "an id is that of a desktop entry");
}

void AskForParts(const std::string& environment, const std::string& groups, const std::string& window) {
    ExpectDesktopEntry(aul::IdFromEnvironment(environment, kProcess));
    ExpectDesktopEntry(aul::IdFromControlGroups(groups));
    const std::string id = aul::IdFromWindow(window);
    fuzz::Require(id.empty() || id == "known.desktop", "a window is believed only about an entry that is there");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::Set("XDG_DATA_HOME", Home().Path());
    fuzz::Set("XDG_DATA_DIRS", Home().Path());
    static const std::string known = Home().Write("applications/known.desktop", "");
    gExecutable = input.Text();
    const std::string window = input.Text();
    const std::string groups = input.Text();
    Home().Write("proc/comm", input.Text());
    Home().Write("proc/stat", input.Text());
    const std::string environment = input.Rest();
    Home().Write("proc/cgroup", groups);
    Home().Write("proc/environ", environment);
    AskForParts(environment, groups, window);
    aul::ApplicationId(kProcess, window);
    const games::ProcessName name = games::NameOf(kProcess);
    fuzz::Require(name.executable.find('/') == std::string::npos, "a program's name has no folder");
    games::NearestAncestor(kProcess, [](pid_t pid) { return pid != kProcess; });
    return 0;
}
