#include "socket_server.h"

#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "fuzz.h"

// A server that went is waited for by watching its folder, and the kernel takes milliseconds to end a watch: here there
// is none to be had, and only time passes.
extern "C" int __wrap_inotify_init1(int flags);
int __wrap_inotify_init1(int) {
    errno = EMFILE;
    return -1;
}

namespace fuzz {

SocketServer::SocketServer(std::string path)
    : path_(std::move(path)), listening_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    const bool isBound = bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    Require(isBound && listen(listening_, 1) == 0, "a server can be reached");
}

SocketServer::~SocketServer() {
    HangUp();
    close(listening_);
}

void SocketServer::Accept() {
    HangUp();
    connection_ = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    Require(connection_ >= 0, "the platform connects");
}

// Where nobody listens any more, nothing is said.
void SocketServer::Say(const std::string& bytes) const {
    static_cast<void>(send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

void SocketServer::HangUp() {
    if (connection_ >= 0) {
        close(std::exchange(connection_, -1));
    }
}

void RunContext() {
    while (g_main_context_iteration(nullptr, /*may_block=*/FALSE) != FALSE) {
    }
}

}  // namespace fuzz
