#include "display/wayland_display.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "display/local_socket.h"
#include "events/events_thread.h"
#include "platform/dlog.h"

namespace {

constexpr size_t kHeader = 8;

// Objects, requests and events of the protocol's core.
constexpr uint32_t kDisplay = 1;
constexpr uint16_t kSync = 0;
constexpr uint16_t kGetRegistry = 1;
constexpr uint16_t kError = 0;
constexpr uint32_t kRegistry = 2;
constexpr uint16_t kBind = 0;
constexpr uint16_t kGlobal = 0;
constexpr uint16_t kGlobalRemove = 1;

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string SocketPath() {
    const std::string name = Variable("WAYLAND_DISPLAY");
    return name[0] == '/' ? name : Variable("XDG_RUNTIME_DIR") + "/" + name;
}

}  // namespace

WaylandDisplay::WaylandDisplay(GMainContext* context, const char* purpose, Handlers handlers)
    : context_(context),
      handlers_(std::move(handlers)),
      purpose_(purpose),
      comeback_(context, "Wayland compositor", [this] { Connect(); }) {}

WaylandDisplay::~WaylandDisplay() {
    Close();
}

bool WaylandDisplay::IsOffered() {
    return !Variable("WAYLAND_DISPLAY").empty();
}

void WaylandDisplay::Start() {
    if (IsOffered()) {
        Connect();
    }
}

void WaylandDisplay::Connect() {
    socket_ = ConnectToSession(SocketPath());
    if (socket_ >= 0) {
        Begin();
    } else {
        Lose(std::strerror(errno));
    }
}

void WaylandDisplay::Begin() {
    source_ = g_unix_fd_source_new(socket_, G_IO_IN);
    g_source_set_callback(source_, G_SOURCE_FUNC(OnReadable), this, nullptr);
    g_source_attach(source_, context_);
    lastObject_ = kDisplay;
    objects_[kDisplay] = [this](uint16_t opcode, WaylandArguments& arguments) { OnDisplayEvent(opcode, arguments); };
    const uint32_t registry =
        NewObject([this](uint16_t opcode, WaylandArguments& arguments) { OnRegistryEvent(opcode, arguments); });
    Send(WaylandRequest(kDisplay, kGetRegistry).Add(registry));
    const uint32_t done = NewObject([this](uint16_t, WaylandArguments&) { OnAllGlobalsTold(); });
    Send(WaylandRequest(kDisplay, kSync).Add(done));
}

void WaylandDisplay::OnAllGlobalsTold() {
    isUp_ = true;
    comeback_.There();
    handlers_.onUp();
}

void WaylandDisplay::Close() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
    }
    if (socket_ >= 0) {
        close(std::exchange(socket_, -1));
    }
    isUp_ = false;
    isBroken_ = false;
    objects_.clear();
    received_.clear();
}

void WaylandDisplay::Lose(const char* why) {
    const bool wasConnected = socket_ >= 0;
    Close();
    comeback_.Gone(SocketPath(), why);
    if (wasConnected) {
        handlers_.onDown();
    }
}

uint32_t WaylandDisplay::NewObject(EventFunction onEvent) {
    ++lastObject_;
    if (onEvent) {
        objects_[lastObject_] = std::move(onEvent);
    }
    return lastObject_;
}

uint32_t WaylandDisplay::Bind(uint32_t name, const std::string& interface, uint32_t version, EventFunction onEvent) {
    const uint32_t object = NewObject(std::move(onEvent));
    Send(WaylandRequest(kRegistry, kBind).Add(name).Add(interface).Add(version).Add(object));
    return object;
}

// A compositor that does not read our few requests for so long that its socket is full is a lost one.
void WaylandDisplay::Send(WaylandRequest& request, int descriptor) {
    const std::string& bytes = request.Bytes();
    iovec data = {const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    if (descriptor >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    }
    const ssize_t sent = isBroken_ ? -1 : sendmsg(socket_, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent != static_cast<ssize_t>(bytes.size())) {
        isBroken_ = true;
        shutdown(socket_, SHUT_RDWR);  // makes it readable: the loss is handled there
    }
}

gboolean WaylandDisplay::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    DoWork([self] { static_cast<WaylandDisplay*>(self)->Process(); });
    return G_SOURCE_CONTINUE;
}

// Descriptors that an event brings are not asked for: the kernel closes them, since no room is given for them.
bool WaylandDisplay::Read() {
    char buffer[4096];
    for (;;) {
        const ssize_t size = recv(socket_, buffer, sizeof buffer, MSG_DONTWAIT);
        if (size > 0) {
            received_.append(buffer, static_cast<size_t>(size));
        } else if (size == 0 || errno != EINTR) {
            return size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        }
    }
}

void WaylandDisplay::Process() {
    const bool isOpen = Read();
    while (socket_ >= 0 && received_.size() >= kHeader) {
        WaylandArguments header(received_.data(), kHeader);
        const uint32_t object = header.Word();
        const uint32_t word = header.Word();
        const size_t size = word >> 16;
        if (size < kHeader) {
            Lose("nonsense received");
            return;
        }
        if (received_.size() < size) {
            break;
        }
        const std::string message = received_.substr(0, size);
        received_.erase(0, size);
        WaylandArguments arguments(message.data() + kHeader, size - kHeader);
        Deliver(object, static_cast<uint16_t>(word & 0xffff), arguments);
    }
    if (socket_ >= 0 && (!isOpen || isBroken_)) {
        Lose("connection closed");
    }
}

// Copied: the function may forget its own object.
void WaylandDisplay::Deliver(uint32_t object, uint16_t opcode, WaylandArguments& arguments) {
    const auto found = objects_.find(object);
    if (found != objects_.end()) {
        const EventFunction onEvent = found->second;
        onEvent(opcode, arguments);
    }
}

void WaylandDisplay::OnDisplayEvent(uint16_t opcode, WaylandArguments& arguments) {
    if (opcode != kError) {
        return;
    }
    arguments.Word();  // object
    arguments.Word();  // code
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s: refused by the Wayland compositor (%s); it is not used any more",
                 purpose_.c_str(), arguments.Text().c_str());
    Close();
    handlers_.onDown();
}

void WaylandDisplay::OnRegistryEvent(uint16_t opcode, WaylandArguments& arguments) {
    const uint32_t name = arguments.Word();
    if (opcode == kGlobal) {
        const std::string interface = arguments.Text();
        handlers_.onGlobal(name, interface, arguments.Word());
    } else if (opcode == kGlobalRemove) {
        handlers_.onGlobalGone(name);
    }
}
