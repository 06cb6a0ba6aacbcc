// Events of a Wayland compositor, for all that the platform uses one for.

#include "device_power/wayland_power.h"
#include "fuzz.h"
#include "screensaver/wayland_saver.h"
#include "socket_server.h"

namespace {

fuzz::SocketServer& Compositor() {
    static const fuzz::Folder folder;
    static fuzz::SocketServer server(folder.Path() + "/wayland-0");
    fuzz::Set("WAYLAND_DISPLAY", server.Path());
    return server;
}

void Append(std::string& message, std::uint32_t word) {
    message.append(reinterpret_cast<const char*>(&word), sizeof word);
}

/// An event with the right length, mostly of an object that exists.
std::string Event(fuzz::Input& input) {
    const std::uint8_t object = input.Byte();
    const std::uint8_t opcode = input.Byte() % 8;
    std::string arguments = input.Text();
    arguments.resize((arguments.size() + 3) / 4 * 4);
    std::string event;
    Append(event, object % 32);
    Append(event, static_cast<std::uint32_t>((arguments.size() + 8) << 16U) | opcode);
    return event + arguments;
}

/// A global of one of the kinds that are looked for.
std::string Global(fuzz::Input& input) {
    static const std::string kKinds[] = {"wl_output", "wl_seat", "zwlr_output_power_manager_v1",
                                         "zwp_virtual_keyboard_manager_v1"};
    const std::string& kind = kKinds[input.Byte() % 4];
    std::string arguments;
    Append(arguments, input.Byte());
    Append(arguments, static_cast<std::uint32_t>(kind.size() + 1));
    arguments += kind + std::string(4 - kind.size() % 4, '\0');
    Append(arguments, 1);
    std::string event;
    Append(event, 2);
    Append(event, static_cast<std::uint32_t>((arguments.size() + 8) << 16U));
    return event + arguments;
}

std::string Piece(fuzz::Input& input) {
    switch (input.Byte() % 4) {
        case 0:
            return input.Text();
        case 1:
            return Global(input);
        default:
            return Event(input);
    }
}

void Play(fuzz::Input& input, const std::function<void()>& use) {
    Compositor().Accept();
    while (!input.IsEmpty()) {
        Compositor().Say(Piece(input));
        fuzz::RunContext();
        use();
    }
    Compositor().HangUp();
    fuzz::RunContext();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Compositor();
    if (input.Flag()) {
        WaylandPower power(nullptr, [] {});
        Play(input, [&power] { power.SwitchOn(); });
        fuzz::Require(!power.IsOff(), "without a compositor nothing is known to be off");
    } else {
        WaylandSaver saver(nullptr, {[] {}, [](Saver&) {}});
        Play(input, [&saver] { saver.Reset(); });
        fuzz::Require(!saver.CanBeReset(), "without a compositor there is nothing to reset");
    }
    return 0;
}
