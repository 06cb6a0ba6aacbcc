#include "private_x_server.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace {

std::string SocketOf(const std::string& name) {
    return "/tmp/.X11-unix/X" + name.substr(1);
}

std::string LockOf(const std::string& name) {
    return "/tmp/.X" + name.substr(1) + "-lock";
}

// Tests that run at the same time begin at different numbers.
std::string FreeName() {
    int number = 100 + getpid() % 10000;
    while (access(SocketOf(":" + std::to_string(number)).c_str(), F_OK) == 0) {
        ++number;
    }
    return ":" + std::to_string(number);
}

}  // namespace

PrivateXServer::PrivateXServer() : name_(FreeName()) {
    setenv("DISPLAY", name_.c_str(), 1);
}

PrivateXServer::~PrivateXServer() {
    Kill();
    unsetenv("DISPLAY");
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
