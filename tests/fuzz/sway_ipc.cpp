// What comes over the socket of the window manager: messages with a header and JSON, in pieces of any size.

#include "aul/sway_focus.h"
#include "fuzz.h"
#include "socket_server.h"

namespace {

constexpr std::size_t kHeader = 14;

fuzz::SocketServer& Server() {
    static const fuzz::Folder folder;
    static fuzz::SocketServer server(folder.Path() + "/sway.sock");
    return server;
}

void Append(std::string& message, std::uint32_t number) {
    message.append(reinterpret_cast<const char*>(&number), sizeof number);
}

/// A whole message of one of the types that matter.
std::string Message(std::uint8_t kind, const std::string& body) {
    constexpr std::uint32_t kTypes[] = {4, 0x80000003U, 0x80000000U, 2};
    std::string message = "i3-ipc";
    Append(message, static_cast<std::uint32_t>(body.size()));
    Append(message, kTypes[kind % 4]);
    fuzz::Require(message.size() == kHeader, "a message has its header");
    return message + body;
}

std::string Piece(fuzz::Input& input) {
    const std::uint8_t kind = input.Byte();
    const std::string text = input.LongText();
    return kind < 64 ? text : Message(kind, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Server();
    const aul::SwayFocus focus(nullptr, Server().Path(), [](const std::optional<aul::FocusedWindow>& window) {
        fuzz::Require(!window || window->pid >= 0, "nobody or a process has the focus");
    });
    Server().Accept();
    while (!input.IsEmpty()) {
        Server().Say(Piece(input));
        fuzz::RunContext();
    }
    Server().HangUp();
    fuzz::RunContext();
    return 0;
}
