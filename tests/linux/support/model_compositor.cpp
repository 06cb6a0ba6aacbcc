#include "model_compositor.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kDisplay = 1;
constexpr uint32_t kRegistry = 2;
constexpr uint32_t kSeatName = 1;
constexpr uint32_t kManagerName = 2;
constexpr uint32_t kFirstOutputName = 10;

int Listen(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(listener, 4);
    return listener;
}

bool Receive(int client, std::string& bytes, size_t size) {
    bytes.resize(size);
    return size == 0 || recv(client, bytes.data(), size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

}  // namespace

ModelCompositor::ModelCompositor(const std::string& path, size_t outputs)
    : listener_(Listen(path)), isOn_(outputs, true), thread_([this] { Run(); }) {
    setenv("WAYLAND_DISPLAY", path.c_str(), 1);
}

ModelCompositor::~ModelCompositor() {
    unsetenv("WAYLAND_DISPLAY");
    shutdown(listener_, SHUT_RDWR);
    {
        const std::lock_guard<std::mutex> lock(lock_);
        shutdown(client_, SHUT_RDWR);
    }
    thread_.join();
    close(listener_);
}

void ModelCompositor::Run() {
    for (int client = 0; (client = accept(listener_, nullptr, nullptr)) >= 0;) {
        {
            const std::lock_guard<std::mutex> lock(lock_);
            client_ = client;
        }
        Serve();
        const std::lock_guard<std::mutex> lock(lock_);
        client_ = -1;
        controls_.clear();
        outputObjects_.clear();
        close(client);
    }
}

void ModelCompositor::Serve() {
    std::string header;
    std::string body;
    while (Receive(client_, header, 8)) {
        WaylandArguments words(header.data(), header.size());
        const uint32_t object = words.Word();
        const uint32_t sizeAndOpcode = words.Word();
        if (!Receive(client_, body, (sizeAndOpcode >> 16) - 8)) {
            return;
        }
        Handle(object, static_cast<uint16_t>(sizeAndOpcode & 0xffff), WaylandArguments(body.data(), body.size()));
    }
}

void ModelCompositor::SendLocked(WaylandRequest& event) const {
    const std::string& bytes = event.Bytes();
    send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void ModelCompositor::Handle(uint32_t object, uint16_t opcode, WaylandArguments arguments) {
    const std::lock_guard<std::mutex> lock(lock_);
    if (object == kDisplay && opcode == 0) {
        SendLocked(WaylandRequest(arguments.Word(), 0).Add(0));
    } else if (object == kDisplay) {
        SendLocked(WaylandRequest(kRegistry, 0).Add(kSeatName).Add(std::string("wl_seat")).Add(7));
        for (uint32_t i = 0; i < isOn_.size(); ++i) {
            SendLocked(WaylandRequest(kRegistry, 0).Add(kFirstOutputName + i).Add(std::string("wl_output")).Add(4));
        }
        if (!isOn_.empty()) {
            const std::string manager = "zwlr_output_power_manager_v1";
            SendLocked(WaylandRequest(kRegistry, 0).Add(kManagerName).Add(manager).Add(1));
        }
    } else if (object == kRegistry) {
        HandleBindLocked(arguments);
    } else if (object == manager_ && opcode == 0) {
        const uint32_t control = arguments.Word();
        controls_[control] = outputObjects_[arguments.Word()];
        TellPowerLocked(controls_[control]);
    } else if (controls_.count(object) != 0 && opcode == 0) {
        isOn_[controls_[object]] = arguments.Word() == 1;
        TellPowerLocked(controls_[object]);
    } else if (controls_.count(object) != 0) {
        controls_.erase(object);
    }
}

void ModelCompositor::HandleBindLocked(WaylandArguments arguments) {
    const uint32_t name = arguments.Word();
    arguments.Text();
    arguments.Word();
    const uint32_t object = arguments.Word();
    if (name == kManagerName) {
        manager_ = object;
    } else if (name >= kFirstOutputName) {
        outputObjects_[object] = name - kFirstOutputName;
    }
}

void ModelCompositor::TellPowerLocked(size_t output) {
    for (const auto& control : controls_) {
        if (control.second == output) {
            SendLocked(WaylandRequest(control.first, 0).Add(isOn_[output] ? 1 : 0));
        }
    }
}

size_t ModelCompositor::Controlled() const {
    const std::lock_guard<std::mutex> lock(lock_);
    return controls_.size();
}

void ModelCompositor::SetPower(size_t output, bool isOn) {
    const std::lock_guard<std::mutex> lock(lock_);
    isOn_[output] = isOn;
    TellPowerLocked(output);
}

bool ModelCompositor::IsOn(size_t output) const {
    const std::lock_guard<std::mutex> lock(lock_);
    return isOn_[output];
}

void ModelCompositor::Remove(size_t output) {
    const std::lock_guard<std::mutex> lock(lock_);
    SendLocked(WaylandRequest(kRegistry, 1).Add(kFirstOutputName + static_cast<uint32_t>(output)));
}

void ModelCompositor::Refuse() {
    const std::lock_guard<std::mutex> lock(lock_);
    SendLocked(WaylandRequest(kDisplay, 0).Add(kDisplay).Add(1).Add(std::string("no such request")));
    shutdown(client_, SHUT_RDWR);
}
