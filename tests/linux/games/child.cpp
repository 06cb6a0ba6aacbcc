#include "child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

Child::Child(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error =
        posix_spawnp(&pid_, command.front().c_str(), &actions, nullptr, Pointers(command).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    input_ = ends[1];
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command.front());
    }
}

Child::Child(Child&& other) noexcept : pid_(std::exchange(other.pid_, -1)), input_(std::exchange(other.input_, -1)) {}

Child::~Child() {
    Kill();
    if (input_ >= 0) {
        close(input_);
    }
}

void Child::Write(const std::string& line) const {
    const std::string text = line + "\n";
    if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("the child does not read");
    }
}

void Child::Kill() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        Wait();
    }
}

int Child::Wait() {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status;
}

Child ReaderOf(const std::string& file, const std::string& shell) {
    return Child({shell, "-c", "exec 3<\"$0\"; read line; exec 3<&-; read line", file});
}
