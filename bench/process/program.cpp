#include "program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "deadline.h"

namespace {

namespace fs = std::filesystem;

constexpr milliseconds kPatienceAtEnd{5000};
constexpr milliseconds kLook{1};

// Between fork and exec.
[[noreturn]] void Become(char* const* settings, char* const* command, int output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const sched_param usual{};
    sched_setscheduler(0, SCHED_OTHER, &usual);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execve(command[0], command, settings);
    _exit(127);
}

fs::path Folder(pid_t process) {
    return fs::path("/proc") / std::to_string(process);
}

std::vector<fs::path> TasksOf(pid_t process) {
    std::error_code gone;
    const fs::directory_iterator tasks(Folder(process) / "task", gone);
    return {begin(tasks), end(tasks)};
}

// The process and all that descend from it.
std::vector<pid_t> Family(pid_t first) {
    std::vector<pid_t> family{first};
    for (std::size_t i = 0; i < family.size(); ++i) {
        for (const fs::path& task : TasksOf(family[i])) {
            std::ifstream children(task / "children");
            for (pid_t child = 0; children >> child;) {
                family.push_back(child);
            }
        }
    }
    return family;
}

// The number behind "NAME:" in one of the kernel's files; 0 where there is none.
long Number(const fs::path& file, const std::string& name) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(name + ":", 0) == 0) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return 0;
}

template <typename Amount, typename Part>
Amount Sum(pid_t first, Part part) {
    Amount sum{};
    for (const pid_t process : Family(first)) {
        sum += part(process);
    }
    return sum;
}

std::chrono::nanoseconds TimeOf(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        throw std::system_error(ESRCH, std::generic_category(), "the program is gone");
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

Program::Program(const std::vector<std::string>& words, const std::string& output) {
    std::vector<std::string> copies = words;
    const auto isSetting = [](const std::string& word) { return word[0] != '/'; };
    const auto program = std::find_if_not(copies.begin(), copies.end(), isSetting);
    std::vector<char*> settings;
    std::vector<char*> command;
    for (auto word = copies.begin(); word != copies.end(); ++word) {
        (word < program ? settings : command).push_back(word->data());
    }
    settings.push_back(nullptr);
    command.push_back(nullptr);
    const int log = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    pid_ = fork();
    if (pid_ == 0) {
        Become(settings.data(), command.data(), log);
    }
    close(log);
}

Program::~Program() {
    if (pid_ > 0) {
        End();
    }
}

std::chrono::nanoseconds Program::ProcessorTime() const {
    return Sum<std::chrono::nanoseconds>(pid_, TimeOf);
}

long Program::VoluntarySwitches() const {
    return Sum<long>(pid_, [](pid_t process) {
        long switches = 0;
        for (const fs::path& task : TasksOf(process)) {
            switches += Number(task / "status", "voluntary_ctxt_switches");
        }
        return switches;
    });
}

long Program::Threads() const {
    return Sum<long>(pid_, [](pid_t process) { return static_cast<long>(TasksOf(process).size()); });
}

long Program::ProportionalKiB() const {
    return Sum<long>(pid_, [](pid_t process) { return Number(Folder(process) / "smaps_rollup", "Pss"); });
}

long Program::OwnKiB() const {
    return Sum<long>(pid_, [](pid_t process) {
        const fs::path file = Folder(process) / "smaps_rollup";
        return Number(file, "Private_Clean") + Number(file, "Private_Dirty");
    });
}

std::chrono::nanoseconds Program::End() {
    const auto start = Clock::now();
    const auto hasEnded = [this] { return waitpid(pid_, nullptr, WNOHANG) == pid_; };
    kill(pid_, SIGTERM);
    if (!Until(hasEnded, kPatienceAtEnd, kLook)) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    pid_ = -1;
    return Clock::now() - start;
}
