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

[[noreturn]] void Become(const std::vector<std::string>& command, const Program::Setting& setting) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int output =
        open(setting.output.empty() ? "/dev/null" : setting.output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (setting.isOrdinaryUser && getuid() == 0 && (setgid(kOrdinaryUser) != 0 || setuid(kOrdinaryUser) != 0)) {
        _exit(126);
    }
    for (const auto& variable : setting.environment) {
        if (variable.second.empty()) {
            unsetenv(variable.first.c_str());
        } else {
            setenv(variable.first.c_str(), variable.second.c_str(), 1);
        }
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

Program::Program(const std::vector<std::string>& command, const Setting& setting) : pid_(fork()) {
    if (pid_ == 0) {
        Become(command, setting);
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
