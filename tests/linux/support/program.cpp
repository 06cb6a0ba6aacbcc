#include "program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::seconds kDeadline{20};
constexpr std::chrono::milliseconds kBetweenQuestions{20};

/// What a program is started with, made before the fork: a child of a process with threads may not allocate, nor call
/// what the pads' test bed has put itself before, such as open: it takes a lock, which another thread may have held.
class Command {
public:
    Command(const std::vector<std::string>& command, const Program::Setting& setting)
        : words_(command), variables_(OwnEnvironmentWith(setting.environment)), setting_(setting) {
        if (setting_.output.empty()) {
            setting_.output = "/dev/null";
        }
        output_ = open(setting_.output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        arguments_ = PointersTo(words_);
        environment_ = PointersTo(variables_);
    }
    ~Command() { close(output_); }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    [[noreturn]] void Become() const {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(output_, STDOUT_FILENO);
        dup2(output_, STDERR_FILENO);
        if (setting_.isOrdinaryUser && getuid() == 0 && (setgid(kOrdinaryUser) != 0 || setuid(kOrdinaryUser) != 0)) {
            _exit(126);
        }
        execvpe(arguments_[0], arguments_.data(), environment_.data());
        _exit(127);
    }

private:
    static std::vector<std::string> OwnEnvironmentWith(const std::map<std::string, std::string>& changes) {
        std::vector<std::string> variables;
        for (char** own = environ; *own != nullptr; ++own) {
            const std::string variable = *own;
            if (changes.count(variable.substr(0, variable.find('='))) == 0) {
                variables.push_back(variable);
            }
        }
        for (const auto& [name, value] : changes) {
            if (!value.empty()) {
                variables.push_back(name + "=" + value);
            }
        }
        return variables;
    }
    static std::vector<char*> PointersTo(std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        return pointers;
    }

    std::vector<std::string> words_;
    std::vector<std::string> variables_;
    Program::Setting setting_;
    std::vector<char*> arguments_;
    std::vector<char*> environment_;
    int output_;
};

}  // namespace

Program::Program(const std::vector<std::string>& command, const Setting& setting) {
    const Command prepared(command, setting);
    pid_ = fork();
    if (pid_ == 0) {
        prepared.Become();
    }
    if (pid_ < 0) {
        throw std::runtime_error("no process for " + command[0]);
    }
    setpgid(pid_, pid_);
}

Program::~Program() {
    Kill();
}

void Program::Kill() {
    if (pid_ > 0) {
        kill(-pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

std::string OutputOf(const std::string& commandLine) {
    FILE* pipe = popen(("exec 2>&1; " + commandLine).c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("no shell");
    }
    std::string output;
    std::array<char, 4096> buffer{};
    for (size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), size);
    }
    pclose(pipe);
    return !output.empty() && output.back() == '\n' ? output.substr(0, output.size() - 1) : output;
}

bool WaitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenQuestions);
    }
    return true;
}
