#include "display/local_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// A socket may lie in a folder where everybody can make files, such as /tmp.
bool IsBelieved(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    errno = EACCES;
    return peer.uid == geteuid() || peer.uid == 0 || geteuid() == 0;
}

}  // namespace

int ConnectToSession(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || !IsBelieved(fd)) {
        const int why = errno;
        close(fd);
        errno = why;
        return -1;
    }
    return fd;
}
