// What the store's helper program prints. The program is not started: its output comes from here.

#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>

#include "fuzz.h"
#include "was/query_program.h"

namespace {

std::string gOutput;
int gDescriptor = -1;

}  // namespace

extern "C" {
int __wrap_posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int from, int to);
int __real_posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int from, int to);
int __wrap_posix_spawn(pid_t* pid, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
                       char* const*, char* const*);
int __wrap_kill(pid_t, int);
pid_t __wrap_waitpid(pid_t pid, int*, int);
long __wrap_syscall(long number, ...);
}

int __wrap_posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int from, int to) {
    gDescriptor = from;
    return __real_posix_spawn_file_actions_adddup2(actions, from, to);
}

int __wrap_posix_spawn(pid_t* pid, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
                       char* const*, char* const*) {
    *pid = 1;
    const auto written = write(gDescriptor, gOutput.data(), gOutput.size());
    fuzz::Require(written == static_cast<ssize_t>(gOutput.size()), "a pipe takes an answer");
    return 0;
}

int __wrap_kill(pid_t, int) {
    return 0;
}

pid_t __wrap_waitpid(pid_t pid, int*, int) {
    return pid;
}

// Only asked for a descriptor of the program, which has ended.
long __wrap_syscall(long number, ...) {
    fuzz::Require(number == SYS_pidfd_open, "no other call is made");
    return eventfd(1, EFD_CLOEXEC);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kFitsPipe = 60000;
    gOutput = fuzz::Input(data, size).Rest().substr(0, kFitsPipe);
    store::QueryProgram program("/program");
    store::Answer answer{7, "before", "tag before"};
    const bool isAnswered = program.Run("title", std::chrono::steady_clock::now() + std::chrono::seconds(60), answer);
    if (isAnswered) {
        fuzz::Require(answer.status >= 0 && answer.status <= 2, "an answer has a status");
        const std::string again = std::to_string(answer.status) + '\0' + answer.appId + '\0' + answer.etag + '\0';
        fuzz::Require(again == gOutput, "an answer is the whole output");
    } else {
        fuzz::Require(answer.status == 7 && answer.appId == "before" && answer.etag == "tag before",
                      "an answer that makes no sense changes nothing");
    }
    return 0;
}
