// Answers and signals on the message buses, for all that the platform listens to there: from its owner or from somebody
// else, of any types.

#include <memory>

#include "aul/focus_state.h"
#include "aul/on_screen_keyboard.h"
#include "bus_daemon.h"
#include "device_power/mutter_power.h"
#include "device_power/sleep_notice.h"
#include "fuzz.h"
#include "gamepad/games/gamemode.h"
#include "screensaver/bus_saver.h"
#include "socket_server.h"

namespace {

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr char kKeyboard[] = "sm.puri.OSK0";
constexpr char kSaver[] = "org.freedesktop.ScreenSaver";

const fuzz::BusSignal kSignals[] = {
    {"", "/com/feralinteractive/GameMode", "com.feralinteractive.GameMode", "GameRegistered"},
    {"", "/com/feralinteractive/GameMode", "com.feralinteractive.GameMode", "GameUnregistered"},
    {"", "/sm/puri/OSK0", kProperties, "PropertiesChanged"},
    {"", "/org/gnome/Mutter/DisplayConfig", kProperties, "PropertiesChanged"},
    {"", "/org/freedesktop/ScreenSaver", kSaver, "ActiveChanged"},
    {"", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep"},
    {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged"},
};

void SendSomething(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    const std::uint8_t kind = input.Byte();
    if (kind == 255) {
        // The bus itself, not somebody on it: it ends in the middle of something. What claims to be megabytes long
        // would only cost the time that a sanitizer takes to copy them.
        daemon.SendRaw(input.Text());
        daemon.HangUp();
        return;
    }
    fuzz::BusSignal signal = kSignals[kind % std::size(kSignals)];
    if (signal.sender.empty()) {
        signal.sender = kind < 224 ? ":1.7" : ":1.8";
    }
    daemon.Send(signal, daemon.BodyFromInput());
}

void Play(fuzz::BusDaemon& daemon, fuzz::Input& input, const std::function<void()>& use) {
    daemon.Serve();
    while (!input.IsEmpty()) {
        SendSomething(daemon, input);
        daemon.Serve();
        use();
        daemon.Serve();
    }
    daemon.HangUp();
    fuzz::RunContext();
}

void FollowGames(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    const games::GameMode gamemode(nullptr, {[](pid_t) {}, [](pid_t) {}, [](const std::vector<pid_t>&) {}});
    Play(daemon, input, [] {});
}

/// What uses a bus that somebody else has made outlives it.
template <typename User>
struct WithBus {
    std::unique_ptr<User> user;
    Bus bus{nullptr, Bus::Kind::kSession};
};

void FollowKeyboard(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    bool isShown = false;
    WithBus<aul::OnScreenKeyboard> keyboard;
    keyboard.user = std::make_unique<aul::OnScreenKeyboard>(
        keyboard.bus, Bus::Member{kKeyboard, "/sm/puri/OSK0", kKeyboard, "Visible"}, [&isShown](pid_t pid, bool isNow) {
            fuzz::Require(pid > 0 && isNow != isShown, "a keyboard that runs is shown and hidden by turns");
            isShown = isNow;
        });
    Play(daemon, input, [] {});
    fuzz::Require(!isShown, "a keyboard that is gone is hidden");
}

void UseSaver(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    WithBus<BusSaver> saver;
    saver.user = std::make_unique<BusSaver>(saver.bus, kSaver, Saver::Observer{[] {}, [](Saver&) {}});
    Play(daemon, input, [&saver] { saver.user->Reset(); });
    fuzz::Require(!saver.user->IsOn() && !saver.user->CanBeReset(), "a screensaver that is gone shows nothing");
}

void FollowSleep(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    bool isAsleep = false;
    const SleepNotice notice(nullptr, [&isAsleep](bool isNow) {
        fuzz::Require(isNow != isAsleep, "the machine falls asleep and wakes by turns");
        isAsleep = isNow;
    });
    Play(daemon, input, [] {});
    fuzz::Require(!isAsleep, "without logind the machine is awake");
}

void UseMutter(fuzz::BusDaemon& daemon, fuzz::Input& input) {
    WithBus<MutterPower> power;
    power.user = std::make_unique<MutterPower>(power.bus, [] {});
    Play(daemon, input, [&power] { power.user->SwitchOn(); });
    fuzz::Require(!power.user->IsOff(), "displays that nobody knows of are on");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr void (*kUsers[])(fuzz::BusDaemon&, fuzz::Input&) = {FollowGames, FollowKeyboard, UseSaver, FollowSleep,
                                                                  UseMutter};
    fuzz::Input input(data, size);
    const std::uint8_t user = input.Byte();
    fuzz::BusDaemon daemon(input);
    kUsers[user % std::size(kUsers)](daemon, input);
    return 0;
}
