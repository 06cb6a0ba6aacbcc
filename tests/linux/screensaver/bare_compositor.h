#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>

#include "display/wayland_message.h"

/// A compositor that has a seat and nothing else to offer, for one client.
class BareCompositor {
public:
    explicit BareCompositor(const std::string& path) : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size());
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 && listen(listener_, 1) == 0) {
            thread_ = std::thread([this] { Serve(); });
        }
    }
    ~BareCompositor() {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    BareCompositor(const BareCompositor&) = delete;
    BareCompositor& operator=(const BareCompositor&) = delete;

private:
    // The client asks for the registry (object 2) and then for the end of the list (object 3).
    void Serve() const {
        const int client = accept(listener_, nullptr, nullptr);
        char request[64];
        if (client < 0 || recv(client, request, 24, MSG_WAITALL) != 24) {
            close(client);
            return;
        }
        const std::string told = WaylandRequest(2, 0).Add(1).Add(std::string("wl_seat")).Add(7).Bytes() +
                                 WaylandRequest(3, 0).Add(0).Bytes();
        send(client, told.data(), told.size(), MSG_NOSIGNAL);
        while (recv(client, request, sizeof request, 0) > 0) {
        }
        close(client);
    }

    const int listener_;
    std::thread thread_;
};
