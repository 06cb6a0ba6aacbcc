#include "silent_server.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>

// The kernel accepts for a server that does not come to it.
SilentServer::SilentServer(const std::string& path)
    : path_(path), listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    constexpr int kClients = 64;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, kClients) != 0) {
        throw std::runtime_error("no server at " + path);
    }
}

SilentServer::~SilentServer() {
    unlink(path_.c_str());
    close(listener_);
}
