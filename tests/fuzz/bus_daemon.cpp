#include "bus_daemon.h"

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "socket_server.h"

namespace {

fuzz::BusDaemon* gDaemon = nullptr;

constexpr char kNobody[] = ":1.1";  // the client itself
constexpr char kOwner[] = ":1.7";   // of every name
constexpr std::size_t kFixedHeader = 16;

enum Type : std::uint8_t { kCall = 1, kReturn = 2, kError = 3, kSignal = 4 };
enum Field : std::uint8_t {
    kPath = 1,
    kInterface,
    kMember,
    kErrorName,
    kReplySerial,
    kDestination,
    kSender,
    kTypes,
    kDescriptors
};

void Align(std::string& bytes, std::size_t size) {
    bytes.resize((bytes.size() + size - 1) / size * size);
}

void AppendNumber(std::string& bytes, std::uint32_t number) {
    Align(bytes, sizeof number);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void StartField(std::string& fields, Field field, char type) {
    Align(fields, 8);
    fields += {static_cast<char>(field), '\1', type, '\0'};
}

void AppendText(std::string& fields, Field field, char type, const std::string& text) {
    StartField(fields, field, type);
    AppendNumber(fields, static_cast<std::uint32_t>(text.size()));
    fields.append(text.c_str(), text.size() + 1);
}

void AppendTypes(std::string& fields, const std::string& types) {
    StartField(fields, kTypes, 'g');
    fields += static_cast<char>(types.size());
    fields.append(types.c_str(), types.size() + 1);
}

std::string Message(Type type, std::uint32_t serial, const std::string& fields, const std::string& body) {
    std::string message{'l', static_cast<char>(type), '\1', '\1'};
    AppendNumber(message, static_cast<std::uint32_t>(body.size()));
    AppendNumber(message, serial);
    AppendNumber(message, static_cast<std::uint32_t>(fields.size()));
    message += fields;
    Align(message, 8);
    return message + body;
}

std::uint32_t NumberAt(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

fuzz::BusBody TextBody(const std::string& text) {
    std::string bytes;
    AppendNumber(bytes, static_cast<std::uint32_t>(text.size()));
    bytes.append(text.c_str(), text.size() + 1);
    return {"s", bytes};
}

int OpenBus(sd_bus** bus) {
    return fuzz::BusDaemon::Connect(reinterpret_cast<void**>(bus));
}

}  // namespace

extern "C" {
void* __real_dlsym(void* library, const char* name);
void* __wrap_dlsym(void* library, const char* name);
}

// A sanitizer's runtime looks its own functions up before anything can be checked.
#ifdef __clang__
__attribute__((no_sanitize("address", "undefined", "coverage")))
#endif
void* __wrap_dlsym(void* library, const char* name) {
    const bool opens = gDaemon != nullptr && std::string_view(name).substr(0, 11) == "sd_bus_open";
    return opens ? reinterpret_cast<void*>(OpenBus) : __real_dlsym(library, name);
}

namespace fuzz {

/// What the client has asked.
struct BusDaemon::Question {
    std::uint32_t serial;
    bool wantsReply;
    std::string member;
};

BusDaemon::BusDaemon(Input& input) : input_(input) {
    gDaemon = this;
    // No path that would have to exist before anybody connects.
    setenv("DBUS_SESSION_BUS_ADDRESS", "daemon:", /*overwrite=*/1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "daemon:", /*overwrite=*/1);
}

BusDaemon::~BusDaemon() {
    HangUp();
    gDaemon = nullptr;
}

int BusDaemon::Connect(void** connection) {
    int ends[2];
    if (gDaemon == nullptr || gDaemon->socket_ >= 0 ||
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) {
        return -ECONNREFUSED;
    }
    gDaemon->socket_ = ends[0];
    sd_bus* bus = nullptr;
    Require(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, ends[1], ends[1]) >= 0 && sd_bus_set_bus_client(bus, 1) >= 0 &&
                sd_bus_start(bus) >= 0,
            "a client can be made");
    *connection = bus;
    return 0;
}

void BusDaemon::HangUp() {
    if (socket_ >= 0) {
        close(std::exchange(socket_, -1));
    }
}

void BusDaemon::SendRaw(const std::string& bytes) const {
    static_cast<void>(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

BusBody BusDaemon::BodyFromInput() {
    BusBody body{input_.Text(), input_.Text()};
    body.signature.resize(std::min<std::size_t>(body.signature.size(), 255));
    std::replace(body.signature.begin(), body.signature.end(), '\0', 'y');
    return body;
}

void BusDaemon::Send(const BusSignal& signal, const BusBody& body) {
    std::string fields;
    AppendText(fields, kPath, 'o', signal.path);
    AppendText(fields, kInterface, 's', signal.interface);
    AppendText(fields, kMember, 's', signal.member);
    AppendText(fields, kSender, 's', signal.sender);
    AppendTypes(fields, body.signature);
    SendRaw(Message(kSignal, ++serial_, fields, body.bytes));
}

void BusDaemon::Reply(std::uint32_t to, const BusBody& body, const char* error) {
    std::string fields;
    StartField(fields, kReplySerial, 'u');
    AppendNumber(fields, to);
    AppendText(fields, kDestination, 's', kNobody);
    AppendText(fields, kSender, 's', kOwner);
    if (error != nullptr) {
        AppendText(fields, kErrorName, 's', error);
    }
    AppendTypes(fields, body.signature);
    SendRaw(Message(error != nullptr ? kError : kReturn, ++serial_, fields, body.bytes));
}

void BusDaemon::Receive() {
    char bytes[4096];
    ssize_t size = 0;
    while (socket_ >= 0 && (size = recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT)) > 0) {
        received_.append(bytes, static_cast<std::size_t>(size));
    }
}

void BusDaemon::Serve() {
    do {
        RunContext();
    } while (Answer());
}

// True when there was a question. The client is well behaved, so that its messages are only taken apart as far as
// needed: the member's name is the one text field of that number.
bool BusDaemon::Answer() {
    Receive();
    const std::size_t greeted = received_.find("BEGIN\r\n");
    if (!isGreeted_ && greeted != std::string::npos) {
        isGreeted_ = true;
        received_.erase(0, greeted + 7);
        SendRaw("DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n");
        return true;
    }
    if (!isGreeted_ || received_.size() < kFixedHeader) {
        return false;
    }
    const std::size_t fields = NumberAt(received_, 12);
    const std::size_t header = (kFixedHeader + fields + 7) / 8 * 8;
    const std::string start = received_.substr(0, header);
    const Question question{NumberAt(start, 8), (start[2] & 1) == 0, start};
    received_.erase(0, header + NumberAt(start, 4));
    AnswerOne(question);
    return true;
}

void BusDaemon::AnswerOne(const Question& question) {
    const auto isFor = [&question](const char* member) {
        std::string field{static_cast<char>(kMember), '\1', 's', '\0'};
        AppendNumber(field, static_cast<std::uint32_t>(std::strlen(member)));
        return question.member.find(field + member) != std::string::npos;
    };
    if (isFor("Hello")) {
        Reply(question.serial, TextBody(kNobody));
    } else if (isFor("AddMatch")) {
        Reply(question.serial, {});
    } else if (isFor("GetNameOwner") && input_.Byte() % 8 != 7) {
        Reply(question.serial, TextBody(kOwner));
    } else if (question.wantsReply) {
        const std::uint8_t kind = input_.Byte() % 8;
        if (kind < 6) {
            Reply(question.serial, BodyFromInput());
        } else if (kind == 6) {
            Reply(question.serial, TextBody("no"), "org.example.Error");
        }
    }
}

}  // namespace fuzz
