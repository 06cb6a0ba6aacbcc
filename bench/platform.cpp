// What the Linux platform does most often.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "gamepad/event_queue.h"
#include "platform/vconf.h"

namespace {

// What a pass finds of a pad that reports both sticks a thousand times a second.
void QueueOfAFlood(benchmark::State& state) {
    constexpr int kFrames = 50;
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
    std::string folder = std::filesystem::temp_directory_path() / "quorvex-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        state.SkipWithError("no folder");
    }
    setenv("XDG_RUNTIME_DIR", folder.c_str(), /*overwrite=*/1);
    vconf_set_int("memory/accessory/playnest_status", 1000);
    int value = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(vconf_get_int("memory/accessory/playnest_status", &value));
    }
    if (value != 1000) {
        state.SkipWithError("not what was written");
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(ReadASetting);

}  // namespace
