#include "private_x_server.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace {

constexpr int kTries = 1000;

std::string SocketOf(const std::string& name) {
    return "/tmp/.X11-unix/X" + name.substr(1);
}

std::string LockOf(const std::string& name) {
    return "/tmp/.X" + name.substr(1) + "-lock";
}

std::string ReservationOf(const std::string& name) {
    return "/tmp/quorvex-display-" + name.substr(1);
}

}  // namespace

// Tests that run at the same time begin at different numbers, and none takes one that another has, with or without a
// server at the moment.
PrivateXServer::PrivateXServer() {
    const int first = 100 + getpid() % 10000;
    for (int number = first; !Reserve(":" + std::to_string(number)); ++number) {
        if (number == first + kTries) {
            throw std::runtime_error("no display is free");
        }
    }
    setenv("DISPLAY", name_.c_str(), 1);
}

PrivateXServer::~PrivateXServer() {
    Kill();
    unlink(ReservationOf(name_).c_str());
    unsetenv("DISPLAY");
}

bool PrivateXServer::Reserve(const std::string& name) {
    const int file = open(ReservationOf(name).c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) {
        return false;
    }
    close(file);
    name_ = name;
    if (access(SocketOf(name).c_str(), F_OK) != 0) {
        return true;
    }
    unlink(ReservationOf(name).c_str());
    return false;
}

// Without -noreset it would forget everything when its last client leaves.
void PrivateXServer::Start() {
    server_ = std::make_unique<Program>(
        std::vector<std::string>{"Xvfb", name_, "-noreset", "-ac", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
    if (!WaitUntil(
            [this] { return OutputOf("xset -display " + name_ + " q").find("Screen Saver") != std::string::npos; })) {
        throw std::runtime_error("Xvfb did not start");
    }
}

void PrivateXServer::Kill() {
    server_.reset();
    unlink(SocketOf(name_).c_str());
    unlink(LockOf(name_).c_str());
}

void PrivateXServer::Stop() const {
    kill(server_->Id(), SIGSTOP);
}

void PrivateXServer::Continue() const {
    kill(server_->Id(), SIGCONT);
}
