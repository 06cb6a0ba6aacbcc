#include "was/query_program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace store {

namespace {

constexpr size_t kLongestAnswer = 4096;  // an id and a tag
constexpr int kEndingMs = 1000;          // what is killed ends in a few

/// Both ends are closed when a program is executed, and with this object.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends_, O_CLOEXEC) != 0) {
            ends_[0] = ends_[1] = -1;
        }
    }
    ~Pipe() {
        CloseEnd(0);
        CloseEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Out() const { return ends_[0]; }
    int In() const { return ends_[1]; }
    void CloseIn() { CloseEnd(1); }

private:
    void CloseEnd(int end) {
        if (ends_[end] >= 0) {
            close(ends_[end]);
            ends_[end] = -1;
        }
    }

    int ends_[2];
};

/// How the program is started: in a group of its own, so that it is ended with all that it starts; with the signals of
/// an ordinary program, which the thread that starts it has not; with no descriptor of the service's but this output
/// and the error output.
class StartConditions {
public:
    explicit StartConditions(int output) {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
        posix_spawn_file_actions_init(&files_);
        posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&files_, STDERR_FILENO + 1);
    }
    ~StartConditions() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    StartConditions(const StartConditions&) = delete;
    StartConditions& operator=(const StartConditions&) = delete;

    /// 0, or the error's number.
    int Start(const std::string& path, const std::string& title, pid_t& program) const {
        std::string name = path;
        std::string argument = title;
        char* const arguments[] = {name.data(), argument.data(), nullptr};
        return posix_spawn(&program, path.c_str(), &files_, &attributes_, arguments, environ);
    }

private:
    posix_spawnattr_t attributes_;
    posix_spawn_file_actions_t files_;
};

int MillisecondsUntil(Deadline deadline) {
    const auto left = deadline - std::chrono::steady_clock::now();
    return static_cast<int>(std::max<long long>(0, std::chrono::ceil<std::chrono::milliseconds>(left).count()));
}

enum class Reading { kMore, kComplete, kFailed };

Reading ReadSome(int from, std::string& text) {
    std::array<char, kLongestAnswer> buffer;
    const ssize_t count = read(from, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    const bool isBad = (count < 0 && errno != EINTR) || text.size() > kLongestAnswer;
    return isBad ? Reading::kFailed : count == 0 ? Reading::kComplete : Reading::kMore;
}

/// Null when all was read, otherwise why not.
const char* ReadAll(int from, int stop, Deadline deadline, std::string& text) {
    for (;;) {
        pollfd ready[] = {{from, POLLIN, 0}, {stop, POLLIN, 0}};
        const int left = MillisecondsUntil(deadline);
        if (poll(ready, 2, left) == 0 && left == 0) {
            return "it takes too long";
        }
        if (ready[1].revents != 0) {
            return "it was stopped";
        }
        const Reading reading = ready[0].revents != 0 ? ReadSome(from, text) : Reading::kMore;
        if (reading != Reading::kMore) {
            return reading == Reading::kComplete ? nullptr : "its answer cannot be read";
        }
    }
}

/// Takes the text up to the next 0 out of texts; false when there is none.
bool TakeText(std::string& texts, std::string& text) {
    const size_t end = texts.find('\0');
    if (end == std::string::npos) {
        return false;
    }
    text = texts.substr(0, end);
    texts.erase(0, end + 1);
    return true;
}

// Three texts, each followed by a 0: the status, the id, the tag.
bool Parse(std::string texts, Answer& answer) {
    std::string status;
    Answer parsed{kUnknownError, "", ""};
    const bool isWhole = TakeText(texts, status) && TakeText(texts, parsed.appId) && TakeText(texts, parsed.etag);
    if (!isWhole || !texts.empty() || status.size() != 1 || status[0] < '0' || status[0] > '2') {
        return false;
    }
    parsed.status = status[0] - '0';
    answer = std::move(parsed);
    return true;
}

}  // namespace

QueryProgram::QueryProgram(std::string path) : path_(std::move(path)), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

QueryProgram::~QueryProgram() {
    Reap();
    if (stop_ >= 0) {
        close(stop_);
    }
}

void QueryProgram::Stop() {
    const uint64_t one = 1;
    if (stop_ >= 0 && write(stop_, &one, sizeof one) < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s is waited for to its end", path_.c_str());
    }
}

bool QueryProgram::WasStopped() const {
    pollfd ready{stop_, POLLIN, 0};
    return poll(&ready, 1, 0) > 0;
}

bool QueryProgram::Run(const std::string& title, Deadline deadline, Answer& answer) {
    Reap();
    std::string texts;
    Pipe pipe;
    pid_t program = -1;
    const int error = pipe.In() < 0 ? errno : StartConditions(pipe.In()).Start(path_, title, program);
    const char* problem = error != 0 ? std::strerror(error) : nullptr;
    if (error == 0) {
        pipe.CloseIn();
        problem = ReadAll(pipe.Out(), stop_, deadline, texts);
        End(program);
    }
    if (problem == nullptr && !Parse(texts, answer)) {
        problem = "its answer makes no sense";
    }
    if (problem != nullptr && !WasStopped()) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s does not answer, so [%.100s] is not known: %s", path_.c_str(),
                     title.c_str(), problem);
    }
    return problem == nullptr;
}

// A process that waits for a dead disk or server ends only after that wait; nobody else shall wait for it meanwhile.
void QueryProgram::End(pid_t program) {
    kill(-program, SIGKILL);
    const int watched = static_cast<int>(syscall(SYS_pidfd_open, program, 0));
    pollfd ended{watched, POLLIN, 0};
    poll(&ended, 1, kEndingMs);
    if (watched >= 0) {
        close(watched);
    }
    unended_.push_back(program);
    Reap();
}

void QueryProgram::Reap() {
    const auto hasEnded = [](pid_t program) { return waitpid(program, nullptr, WNOHANG) != 0; };
    unended_.erase(std::remove_if(unended_.begin(), unended_.end(), hasEnded), unended_.end());
}

}  // namespace store
