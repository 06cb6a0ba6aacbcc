// One pass over all pads: the time between two pauses of the dispatcher's own thread.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "GamepadEventDispatcher.h"
#include "null_platform.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Stands in the dispatcher's pause: lets it run one pass when one is asked for, and takes its time.
class Gate {
public:
    /// The dispatcher's thread, in its pause. False: the gate is open, and nobody asks.
    bool Pause() {
        const auto ended = Clock::now();
        std::unique_lock lock(mutex_);
        duration_ = ended - begun_;
        isAsked_ = false;
        changed_.notify_all();
        changed_.wait(lock, [this] { return isAsked_ || isOpen_; });
        begun_ = Clock::now();
        return !isOpen_;
    }
    std::chrono::duration<double> OnePass() {
        std::unique_lock lock(mutex_);
        isAsked_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !isAsked_; });
        return duration_;
    }
    void Open(bool isOpen) {
        const std::lock_guard lock(mutex_);
        isOpen_ = isOpen;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isAsked_ = true;  // the first pass comes by itself
    bool isOpen_ = false;
    Clock::time_point begun_ = Clock::now();
    Clock::duration duration_{};
};

Gate gate;

void Pass(benchmark::State& state) {
    null_platform::pads = static_cast<int>(state.range(0));
    null_platform::eventsOfEachPad = static_cast<int>(state.range(1));
    gate.Open(false);
    GamepadEventDispatcher* dispatcher = Singleton<GamepadEventDispatcher>::GetInstance();
    dispatcher->Initialize();
    gate.OnePass();
    for ([[maybe_unused]] auto _ : state) {
        state.SetIterationTime(gate.OnePass().count());
    }
    gate.Open(true);
    dispatcher->DeInitialize();
    Singleton<GamepadEventDispatcher>::DestroyInstance();
    state.SetComplexityN(state.range(0));
}
BENCHMARK(Pass)
    ->ArgNames({"pads", "events"})
    ->ArgsProduct({{1, 4, 16, 64, 256}, {0}})
    ->Iterations(300)
    ->UseManualTime()
    ->Complexity(benchmark::oN);
BENCHMARK(Pass)
    ->ArgNames({"pads", "events"})
    ->ArgsProduct({{1, 4, 16, 64, 256}, {16}})
    ->Iterations(300)
    ->UseManualTime()
    ->Complexity(benchmark::oN);

}  // namespace

extern "C" {
int __real_usleep(useconds_t pause);
int __wrap_usleep(useconds_t pause);
}
int __wrap_usleep(useconds_t pause) {
    constexpr useconds_t kBetweenPasses = 50000;
    return pause == kBetweenPasses && gate.Pause() ? 0 : __real_usleep(kBetweenPasses / 50);
}
