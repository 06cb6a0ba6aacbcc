// What the Linux platform does most often.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>

#include "aul/focus_state.h"
#include "aul/sway_focus.h"
#include "fuzz.h"
#include "gamepad/device.h"
#include "hostile_evdev.h"
#include "platform/vconf.h"
#include "socket_server.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFrames = 50;  // of a pad that reports a thousand times a second, in one pass

double Seconds(Clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

/// As tests/vm/uinput_pad.h has it: buttons by place, two sticks, two triggers, a hat.
HostileDevice CommonPad() {
    HostileDevice pad;
    pad.name = "Test pad";
    pad.id = {BUS_USB, 0x045e, 0x028e, 0x0110};
    for (const std::size_t key : {BTN_SOUTH, BTN_EAST, BTN_NORTH, BTN_WEST, BTN_TL, BTN_TR, BTN_SELECT, BTN_START,
                                  BTN_MODE, BTN_THUMBL, BTN_THUMBR}) {
        pad.keys.set(key);
    }
    for (const std::size_t axis : {ABS_X, ABS_Y, ABS_RX, ABS_RY}) {
        pad.axes[axis] = input_absinfo{0, -32768, 32767, 0, 128, 0};
    }
    pad.axes[ABS_Z] = pad.axes[ABS_RZ] = input_absinfo{0, 0, 255, 0, 0, 0};
    pad.axes[ABS_HAT0X] = pad.axes[ABS_HAT0Y] = input_absinfo{0, -1, 1, 0, 0, 0};
    return pad;
}

/// Both sticks in circles that count as no push.
std::string Circles(int firstFrame) {
    constexpr double kRadius = 12000;
    std::string bytes;
    const auto add = [&bytes](int type, int code, int value) {
        const input_event event{{}, static_cast<__u16>(type), static_cast<__u16>(code), value};
        bytes.append(reinterpret_cast<const char*>(&event), sizeof event);
    };
    for (int frame = firstFrame; frame < firstFrame + kFrames; ++frame) {
        const int x = static_cast<int>(kRadius * std::cos(frame / 20.0));
        const int y = static_cast<int>(kRadius * std::sin(frame / 20.0));
        add(EV_ABS, ABS_X, x);
        add(EV_ABS, ABS_Y, y);
        add(EV_ABS, ABS_RX, y);
        add(EV_ABS, ABS_RY, x);
        add(EV_SYN, SYN_REPORT, 0);
    }
    return bytes;
}

// What a pass finds of such a pad when the kernel has kept all of it.
void DrainAPad(benchmark::State& state) {
    const HostileDevice pad = CommonPad();
    const HostileEvdev kernel(pad);
    gamepad::Evdev evdev = gamepad::OpenEvdev(kernel.Path());
    mapping::Database database;
    gamepad::ChosenLayout layout = gamepad::ChooseLayout(evdev.device.get(), database);
    gamepad::Device device(std::move(evdev), std::make_shared<gamepad::Pad>(), std::move(layout));
    _gamepad_event_s taken[gamepad::EventQueue::kBatch];
    int frame = 0;
    for ([[maybe_unused]] auto _ : state) {
        kernel.Send(Circles(frame += kFrames));
        const auto begun = Clock::now();
        const int count = device.TakeEvents(taken, gamepad::EventQueue::kBatch);
        state.SetIterationTime(Seconds(Clock::now() - begun));
        if (count != 4) {  // where each axis is now
            state.SkipWithError("not what the pad sent");
        }
    }
}
BENCHMARK(DrainAPad)->UseManualTime();

void QueueOfAFlood(benchmark::State& state) {
    gamepad::EventQueue queue;
    _gamepad_event_s taken[gamepad::EventQueue::kBatch];
    for ([[maybe_unused]] auto _ : state) {
        for (int frame = 0; frame < kFrames; ++frame) {
            for (const int axis : {0, 1, 3, 4}) {
                queue.PushPosition({0, 3, axis, frame}, gamepad::Zone::Middle, gamepad::AxisRole::Stick);
            }
        }
        benchmark::DoNotOptimize(queue.Take(taken, gamepad::EventQueue::kBatch));
    }
}
BENCHMARK(QueueOfAFlood);

void ReadASetting(benchmark::State& state) {
    const fuzz::Folder folder;
    fuzz::Set("XDG_RUNTIME_DIR", folder.Path());
    vconf_set_int("memory/accessory/playnest_status", 1000);
    int value = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(vconf_get_int("memory/accessory/playnest_status", &value));
    }
    if (value != 1000) {
        state.SkipWithError("not what was written");
    }
}
BENCHMARK(ReadASetting);

/// As sway tells that a window of this process has the focus.
std::string FocusEvent(const std::string& app) {
    const std::string body = R"({"change":"focus","container":{"id":7,"type":"con","focused":true,"pid":)" +
                             std::to_string(getpid()) + R"(,"app_id":")" + app +
                             R"(","shell":"xdg_shell","name":"A window","nodes":[],"floating_nodes":[]}})";
    const std::uint32_t header[] = {static_cast<std::uint32_t>(body.size()), 0x80000003U};
    return "i3-ipc" + std::string(reinterpret_cast<const char*>(header), sizeof header) + body;
}

// From the compositor's word to the answers of the two questions that the service has then.
void ChangeTheFocus(benchmark::State& state) {
    const fuzz::Folder folder;
    fuzz::SocketServer compositor(folder.Path() + "/sway.sock");
    aul::FocusState focus;
    int changes = 0;
    const aul::SwayFocus sway(nullptr, compositor.Path(), [&](const std::optional<aul::FocusedWindow>& window) {
        if (window && window->pid > 0) {
            focus.SetFocus(window->pid, window->pid, window->app);
            ++changes;
        }
    });
    compositor.Accept();
    fuzz::RunContext();
    int number = 0;
    for ([[maybe_unused]] auto _ : state) {
        compositor.Say(FocusEvent("window" + std::to_string(++number)));
        const auto begun = Clock::now();
        fuzz::RunContext();
        const int status = focus.Status(focus.AppId(getpid()));
        state.SetIterationTime(Seconds(Clock::now() - begun));
        if (changes != number || status != aul::FocusState::kFocused) {
            state.SkipWithError("the change did not arrive");
        }
    }
}
BENCHMARK(ChangeTheFocus)->UseManualTime();

}  // namespace
