#include "aul/sway_focus.h"

#include <glob.h>
#include <json/json.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "display/local_socket.h"

namespace aul {
namespace {

constexpr char kMagic[] = {'i', '3', '-', 'i', 'p', 'c'};
constexpr size_t kHeaderSize = sizeof kMagic + 2 * sizeof(uint32_t);
// A tree of a thousand windows is one megabyte; whoever sends more than this is not a window manager.
constexpr uint32_t kLargestBody = 16U << 20U;
constexpr int kDeepestTree = 100;

constexpr uint32_t kSubscribe = 2;
constexpr uint32_t kGetTree = 4;
constexpr uint32_t kWorkspaceEvent = 0x80000000U;
constexpr uint32_t kWindowEvent = 0x80000003U;

// "sway-ipc.<user>.<process>.sock" is sway's own name for its socket.
std::vector<std::string> SocketsBeside(const std::string& path) {
    const std::string pattern =
        path.substr(0, path.rfind('/') + 1) + "sway-ipc." + std::to_string(getuid()) + ".*.sock";
    std::vector<std::string> sockets;
    glob_t found{};
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        sockets.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    return sockets;
}

bool Parse(const char* begin, const char* end, Json::Value& value) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = kDeepestTree;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(begin, end, &value, nullptr) && value.isObject();
    } catch (const Json::Exception&) {  // nested too deeply
        return false;
    }
}

std::string Text(const Json::Value& value) {
    return value.isString() ? value.asString() : std::string();
}

bool HasWindow(const Json::Value& container) {
    return !container["window"].isNull();
}

// Null when nothing in it has the focus. What was parsed is no deeper than kDeepestTree.
const Json::Value* FindFocused(const Json::Value& node) {
    if (!node.isObject()) {
        return nullptr;
    }
    if (node["focused"].isBool() && node["focused"].asBool()) {
        return &node;
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        const Json::Value& list = node[children];
        for (Json::ArrayIndex i = 0; list.isArray() && i < list.size(); ++i) {
            if (const Json::Value* found = FindFocused(list[i])) {
                return found;
            }
        }
    }
    return nullptr;
}

pid_t PidOf(const Json::Value& container) {
    const Json::Value& pid = container["pid"];
    return pid.isInt() ? std::max(pid.asInt(), 0) : 0;
}

}  // namespace

SwayFocus::SwayFocus(GMainContext* context, std::string socketPath, Function onFocus)
    : context_(context),
      path_(std::move(socketPath)),
      onFocus_(std::move(onFocus)),
      comeback_(context, "sway at " + path_, [this] { Connect(); }) {
    Connect();
}

SwayFocus::~SwayFocus() {
    Close();
}

void SwayFocus::Connect() {
    if (!ConnectToAny()) {
        Lose(std::strerror(errno));
        return;
    }
    readable_.WhenReadable(context_, socket_, [this] { Read(); });
    // First the changes, then the state: what changes in between is told twice rather than not at all.
    if (!Send(kSubscribe, R"(["window","workspace"])") || !Send(kGetTree, "")) {
        Lose(std::strerror(errno));
    }
}

bool SwayFocus::ConnectToAny() {
    socket_ = ConnectToSession(path_);
    const int why = errno;
    if (socket_ < 0) {
        for (const std::string& other : SocketsBeside(path_)) {
            socket_ = socket_ >= 0 ? socket_ : ConnectToSession(other);
        }
    }
    errno = why;
    return socket_ >= 0;
}

void SwayFocus::Lose(const std::string& why) {
    Close();
    comeback_.Gone(path_, why);
    onFocus_(std::nullopt);
}

void SwayFocus::Close() {
    readable_.Stop();
    received_ = {};
    focused_ = 0;
    if (socket_ >= 0) {
        close(std::exchange(socket_, -1));
    }
}

void SwayFocus::Read() {
    char part[4096];
    ssize_t size = 0;
    while ((size = recv(socket_, part, sizeof part, MSG_DONTWAIT)) > 0) {
        received_.append(part, static_cast<size_t>(size));
    }
    const int why = errno;
    while (TakeMessage()) {
    }
    if (socket_ >= 0 && (size == 0 || (why != EAGAIN && why != EINTR))) {
        Lose(size == 0 ? "it ended" : std::strerror(why));
    }
}

// Handles one message; false when there is no whole one, or no connection any more.
bool SwayFocus::TakeMessage() {
    if (socket_ < 0 || received_.size() < kHeaderSize) {
        return false;
    }
    uint32_t numbers[2];
    std::memcpy(numbers, received_.data() + sizeof kMagic, sizeof numbers);
    const auto [size, type] = numbers;
    if (std::memcmp(received_.data(), kMagic, sizeof kMagic) != 0 || size > kLargestBody) {
        Lose("it does not speak the protocol");
        return false;
    }
    if (received_.size() - kHeaderSize < size) {
        return false;
    }
    Json::Value body;
    const char* begin = received_.data() + kHeaderSize;
    const bool isUsed =
        (type == kGetTree || type == kWindowEvent || type == kWorkspaceEvent) && Parse(begin, begin + size, body);
    received_.erase(0, kHeaderSize + size);
    if (received_.empty()) {
        received_ = {};  // the tree was large
    }
    if (isUsed) {
        Handle(type, body);
    }
    return true;
}

void SwayFocus::Handle(uint32_t type, const Json::Value& body) {
    if (type == kWindowEvent) {
        HandleWindow(body);
    } else if (type == kWorkspaceEvent) {
        if (Text(body["change"]) == "focus") {
            AskTree();
        }
    } else {
        comeback_.There();
        const Json::Value* focused = FindFocused(body);
        Report(focused != nullptr ? *focused : Json::Value(Json::objectValue));
    }
}

// A last window that closes leaves the focus to nobody, and no event of its own tells that.
void SwayFocus::HandleWindow(const Json::Value& event) {
    const std::string change = Text(event["change"]);
    const Json::Value& container = event["container"];
    if (!container.isObject()) {
        return;
    }
    if (change == "focus") {
        Report(container);
    } else if (change == "close" && PidOf(container) == focused_) {
        AskTree();
    }
}

void SwayFocus::AskTree() {
    if (!Send(kGetTree, "")) {
        Lose(std::strerror(errno));
    }
}

// All requests together are far smaller than a socket's buffer: one that is not taken whole has no reader.
bool SwayFocus::Send(uint32_t type, const std::string& body) {
    const uint32_t numbers[2] = {static_cast<uint32_t>(body.size()), type};
    std::string message(kMagic, sizeof kMagic);
    message.append(reinterpret_cast<const char*>(numbers), sizeof numbers);
    message += body;
    return send(socket_, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size());
}

void SwayFocus::Report(const Json::Value& container) {
    focused_ = PidOf(container);
    if (focused_ == 0 && HasWindow(container)) {
        onFocus_(std::nullopt);
        return;
    }
    FocusedWindow window{focused_, Text(container["app_id"])};
    const Json::Value& properties = container["window_properties"];
    if (window.app.empty() && properties.isObject()) {
        window.app = Text(properties["class"]);
    }
    onFocus_(window);
}

}  // namespace aul
