#include "private_bus.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

PrivateBus::PrivateBus(const std::string& variable) : variable_(variable) {
    char name[] = "/tmp/quorvex-bus-XXXXXX";
    if (mkdtemp(name) == nullptr) {
        throw std::runtime_error("no directory for a bus");
    }
    directory_ = name;
    setenv(variable_.c_str(), ("unix:path=" + directory_ + "/bus").c_str(), 1);
}

PrivateBus::~PrivateBus() {
    Kill();
    unsetenv(variable_.c_str());
    std::filesystem::remove_all(directory_);
}

// The daemon closes the pipe's end after it has printed its process id, which is when it listens.
void PrivateBus::Start() {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0 || fcntl(ready[1], F_SETFD, 0) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string address = "--address=unix:path=" + directory_ + "/bus";
    const std::string print = "--print-pid=" + std::to_string(ready[1]);
    daemon_ = fork();
    if (daemon_ == 0) {
        execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog", address.c_str(),
               print.c_str(), nullptr);
        _exit(127);
    }
    close(ready[1]);
    char pid[32];
    const bool isUp = read(ready[0], pid, sizeof pid) > 0;
    close(ready[0]);
    if (!isUp) {
        throw std::runtime_error("dbus-daemon did not start");
    }
}

void PrivateBus::Kill() {
    if (daemon_ > 0) {
        kill(daemon_, SIGKILL);
        waitpid(daemon_, nullptr, 0);
        daemon_ = -1;
    }
}
