// Replies and events of an X server, for all that the platform uses one for: whatever lengths, formats and numbers they
// give.

#include "aul/x11_focus.h"
#include "device_power/x11_power.h"
#include "fuzz.h"
#include "screensaver/x11_saver.h"
#include "socket_server.h"
#include "x11_server.h"

namespace {

void Play(fuzz::Input& input, const fuzz::X11Server& server, const std::function<void()>& use) {
    fuzz::RunContext();
    while (!input.IsEmpty()) {
        input.Byte();
        server.Say();
        fuzz::RunContext();
        use();
    }
    server.HangUp();
    fuzz::RunContext();
}

void FollowFocus(fuzz::Input& input, const fuzz::X11Server& server) {
    const auto onFocus = [](const std::optional<aul::FocusedWindow>& window) {
        fuzz::Require(!window || window->pid >= 0, "nobody or a process has the focus");
    };
    const auto kind = input.Flag() ? aul::X11Focus::Kind::kAlone : aul::X11Focus::Kind::kInsideWayland;
    const aul::X11Focus focus(g_main_context_default(), kind, onFocus);
    Play(input, server, [] {});
}

void UseSaver(fuzz::Input& input, const fuzz::X11Server& server) {
    X11Saver saver(g_main_context_default(), {[] {}, [](Saver&) {}});
    Play(input, server, [&saver] { saver.Reset(); });
    fuzz::Require(!saver.CanBeReset() && !saver.IsOn(), "without a display there is nothing to reset");
}

void UsePower(fuzz::Input& input, const fuzz::X11Server& server) {
    X11Power power(g_main_context_default(), [] {});
    power.SetWanted(true);
    Play(input, server, [&power] { power.SwitchOn(); });
    fuzz::Require(!power.IsOff(), "without a display nothing is known to be off");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::Set("WAYLAND_DISPLAY", "");
    fuzz::Set("DISPLAY", "elsewhere:0");
    const std::uint8_t user = input.Byte() % 3;
    const fuzz::X11Server server(input);
    if (user == 0) {
        FollowFocus(input, server);
    } else if (user == 1) {
        UseSaver(input, server);
    } else {
        UsePower(input, server);
    }
    return 0;
}
