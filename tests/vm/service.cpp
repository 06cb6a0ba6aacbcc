#include "service.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

const char* Program() {
    const char* path = std::getenv("QUORVEX_PROGRAM");
    return path != nullptr ? path : QUORVEX_PROGRAM;
}

std::string ProcFile(pid_t pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

// What tells sanitizers and coverage how to behave.
std::vector<std::string> Instrumentation() {
    std::vector<std::string> settings;
    for (char** setting = environ; *setting != nullptr; ++setting) {
        const std::string text = *setting;
        if (text.find("SAN_OPTIONS=") != std::string::npos || text.rfind("GCOV_", 0) == 0) {
            settings.push_back(text);
        }
    }
    return settings;
}

// Between fork and exec, hence nothing that allocates or locks.
[[noreturn]] void BecomeService(char* const* command, char* const* environment, int output, uid_t user) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (user != 0 && (setgid(user) != 0 || setuid(user) != 0)) {
        _exit(126);
    }
    execve(command[0], command, environment);
    _exit(127);
}

// As execve wants them; they point into `texts`.
std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    std::transform(texts.begin(), texts.end(), std::back_inserter(pointers),
                   [](std::string& text) { return text.data(); });
    pointers.push_back(nullptr);
    return pointers;
}

int StatusOf(int waited) {
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : 1000 + WTERMSIG(waited);
}

// The set of signals in a line of /proc/PID/status, as in "SigCgt:	0000000000004200".
unsigned long long SignalSet(const std::string& line) {
    return std::stoull(line.substr(line.find('\t')), nullptr, 16);
}

bool Holds(unsigned long long set, int signal) {
    return (set >> (signal - 1) & 1U) != 0;
}

}  // namespace

Service::Service(const ServiceOptions& options) {
    std::vector<std::string> settings = Instrumentation();
    settings.insert(settings.end(), options.environment.begin(), options.environment.end());
    std::vector<std::string> words = options.command.empty() ? std::vector<std::string>{Program()} : options.command;
    const std::vector<char*> environment = Pointers(settings);
    const std::vector<char*> command = Pointers(words);
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    pid_ = fork();
    if (pid_ == 0) {
        BecomeService(command.data(), environment.data(), output[1], options.user);
    }
    close(output[1]);
    reader_ = std::thread(&Service::ReadOutput, this, output[0]);
}

Service::~Service() {
    if (!exitStatus_) {
        Signal(SIGCONT);
        Signal(SIGKILL);
        ExitStatus();
    }
    reader_.join();
}

void Service::Signal(int number) const {
    kill(pid_, number);
}

void Service::Terminate() {
    constexpr milliseconds kPassAndShutdown(5000);
    Signal(SIGTERM);
    if (!ExitStatus(kPassAndShutdown)) {
        Signal(SIGTERM);
    }
}

std::optional<int> Service::ExitStatus(milliseconds patience) {
    int waited = 0;
    if (!exitStatus_ && Until([&] { return waitpid(pid_, &waited, WNOHANG) == pid_; }, patience)) {
        exitStatus_ = StatusOf(waited);
    }
    return exitStatus_;
}

size_t Service::Now() {
    const std::lock_guard lock(mutex_);
    return lines_.size();
}

std::optional<size_t> Service::Find(const std::string& text, size_t from, milliseconds patience) {
    std::unique_lock lock(mutex_);
    const bool found = changed_.wait_for(lock, patience, [&] {
        for (; from < lines_.size(); ++from) {
            if (lines_[from].find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    });
    return found ? std::optional(from) : std::nullopt;
}

size_t Service::Count(const std::string& text) {
    const std::lock_guard lock(mutex_);
    return static_cast<size_t>(std::count_if(
        lines_.begin(), lines_.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

std::string Service::Line(const std::string& text, size_t from) {
    const std::lock_guard lock(mutex_);
    for (; from < lines_.size(); ++from) {
        if (lines_[from].find(text) != std::string::npos) {
            return lines_[from];
        }
    }
    return {};
}

std::string Service::Tail(size_t lines) {
    const std::lock_guard lock(mutex_);
    std::ostringstream text;
    for (size_t i = lines_.size() - std::min(lines, lines_.size()); i < lines_.size(); ++i) {
        text << "  | " << lines_[i] << '\n';
    }
    return text.str();
}

bool Service::HandlesSignals() const {
    std::ifstream status(ProcFile(pid_, "status"));
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigCgt:", 0) == 0) {
            return Holds(SignalSet(line), SIGTERM) && Holds(SignalSet(line), SIGUSR1);
        }
    }
    return false;
}

size_t Service::Threads() const {
    std::error_code gone;
    const std::filesystem::directory_iterator tasks(ProcFile(pid_, "task"), gone);
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

std::vector<std::string> Service::OpenFiles() const {
    std::vector<std::string> files;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator(ProcFile(pid_, "fd"), gone)) {
        files.push_back(std::filesystem::read_symlink(entry.path(), gone).string());
    }
    return files;
}

void Service::ReadOutput(int fd) {
    std::string text;
    char piece[4096];
    for (ssize_t length = 0; (length = read(fd, piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<size_t>(length));
        TakeLines(text);
    }
    close(fd);
}

void Service::TakeLines(std::string& text) {
    const std::lock_guard lock(mutex_);
    for (size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
        lines_.push_back(text.substr(0, end));
    }
    changed_.notify_all();
}
