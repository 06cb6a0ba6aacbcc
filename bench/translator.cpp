// One event on its way through the translator.
#include <benchmark/benchmark.h>

#include "GamepadRemoteController.h"
#include "null_platform.h"
#include "platform/dlog.h"

namespace {

constexpr _gamepad_event_s Event(int type, int code, int value) {
    return {0, type, code, value};
}

constexpr _gamepad_event_s kPress = Event(gamepad::TYPE_BUTTON, 0, 1);
constexpr _gamepad_event_s kRelease = Event(gamepad::TYPE_BUTTON, 0, 0);
constexpr _gamepad_event_s kOtherPress = Event(gamepad::TYPE_BUTTON, 1, 1);
constexpr _gamepad_event_s kPairPress = Event(gamepad::TYPE_BUTTON, 10, 1);
constexpr _gamepad_event_s kPairRelease = Event(gamepad::TYPE_BUTTON, 10, 0);
constexpr _gamepad_event_s kRestingStick = Event(gamepad::TYPE_AXIS, gamepad::AXIS_X, 100);

/// The argument is the least level that is logged.
class Translator : public benchmark::Fixture {
public:
    void SetUp(benchmark::State& state) override {
        null_platform::leastLogged = static_cast<int>(state.range(0));
        device_.iXUpper = 16384;
        device_.iXLower = -16384;
        controller_.Initialize();
    }
    void TearDown(benchmark::State&) override {
        controller_.ReleaseVirtualKey();
        controller_.DeInitialize();
    }
    void Send(const _gamepad_event_s& event) { controller_.SendRemoteControllerEvent(device_, event); }

private:
    GamepadRemoteController controller_;
    _DeviceInfo device_;
};

BENCHMARK_DEFINE_F(Translator, PressAndRelease)(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        Send(kPress);
        Send(kRelease);
    }
}

BENCHMARK_DEFINE_F(Translator, DroppedWhileHeld)(benchmark::State& state) {
    Send(kPress);
    for ([[maybe_unused]] auto _ : state) {
        Send(kOtherPress);
    }
}

BENCHMARK_DEFINE_F(Translator, HalfACombination)(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        Send(kPairPress);
        Send(kPairRelease);
    }
}

BENCHMARK_DEFINE_F(Translator, StickInsideItsBand)(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        Send(kRestingStick);
    }
}

void BothLevels(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("least")->Arg(DLOG_ERROR)->Arg(DLOG_INFO);
}
BENCHMARK_REGISTER_F(Translator, PressAndRelease)->Apply(BothLevels);
BENCHMARK_REGISTER_F(Translator, DroppedWhileHeld)->Apply(BothLevels);
BENCHMARK_REGISTER_F(Translator, HalfACombination)->Apply(BothLevels);
BENCHMARK_REGISTER_F(Translator, StickInsideItsBand)->Apply(BothLevels);

}  // namespace
