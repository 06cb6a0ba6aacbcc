#include "work.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr milliseconds kBetweenPresses{50};
constexpr milliseconds kHeld{15};
constexpr milliseconds kLatest{300};  // beyond it a key counts as lost
constexpr double kRadius = 12000;     // of a way of 32768; half of it is a push

// Spread evenly over the time between two presses: each is the golden part of it later than the one before, so that two
// are never closer than 30 ms.
Clock::duration Shift(int pair) {
    constexpr double kGolden = 0.6180339887498949;
    const double part = pair * kGolden - std::floor(pair * kGolden);
    return std::chrono::duration_cast<Clock::duration>(part * kBetweenPresses);
}

Clock::time_point Press(UinputPad& pad, Clock::time_point when) {
    std::this_thread::sleep_until(when);
    const auto pressed = Clock::now();
    pad.Press(BTN_SOUTH);
    return pressed;
}

void Release(UinputPad& pad, Clock::time_point when) {
    std::this_thread::sleep_until(when);
    pad.Release(BTN_SOUTH);
}

int Difference(std::size_t one, std::size_t other) {
    return std::abs(static_cast<int>(one) - static_cast<int>(other));
}

Delivery Compare(const std::vector<Clock::time_point>& pressed, const Keyboard& keyboard) {
    const auto& keys = keyboard.Presses();
    Delivery delivery{{},
                      Difference(pressed.size(), keys.size()) + Difference(pressed.size(), keyboard.Releases().size())};
    for (std::size_t i = 0; i < std::min(pressed.size(), keys.size()); ++i) {
        delivery.latencies.push_back(keys[i] - pressed[i]);
    }
    return delivery;
}

// Calls `move` with an angle, so many times a second.
template <typename Move>
void Circle(int timesASecond, std::chrono::seconds duration, Move move) {
    const std::chrono::nanoseconds step = std::chrono::nanoseconds(std::chrono::seconds(1)) / timesASecond;
    auto next = Clock::now();
    const auto frames = timesASecond * duration.count();
    for (int frame = 0; frame < frames; ++frame) {
        const double angle = frame / 20.0;
        move(static_cast<int>(kRadius * std::cos(angle)), static_cast<int>(kRadius * std::sin(angle)));
        std::this_thread::sleep_until(next += step);
    }
}

}  // namespace

Delivery PressAndRelease(UinputPad& pad, Keyboard& keyboard, int pairs) {
    keyboard.Forget();
    std::vector<Clock::time_point> pressed;
    const auto start = Clock::now();
    for (int pair = 0; pair < pairs; ++pair) {
        const auto when = start + pair * kBetweenPresses + Shift(pair);
        pressed.push_back(Press(pad, when));
        Release(pad, when + kHeld);
        keyboard.Drain();
    }
    std::this_thread::sleep_for(kLatest);
    keyboard.Drain();
    return Compare(pressed, keyboard);
}

void MoveAStick(UinputPad& pad, int timesASecond, std::chrono::seconds duration) {
    Circle(timesASecond, duration, [&pad](int x, int y) { pad.Send({{EV_ABS, ABS_X, x}, {EV_ABS, ABS_Y, y}}); });
}

Delivery Flood(UinputPad& pad, Keyboard& keyboard, int timesASecond, std::chrono::seconds duration) {
    keyboard.Forget();
    Circle(timesASecond, duration, [&pad](int x, int y) {
        pad.Send({{EV_ABS, ABS_X, x}, {EV_ABS, ABS_Y, y}, {EV_ABS, ABS_RX, y}, {EV_ABS, ABS_RY, x}});
    });
    const auto pressed = Press(pad, Clock::now());
    std::this_thread::sleep_for(kLatest);
    Release(pad, Clock::now());
    std::this_thread::sleep_for(kLatest);
    keyboard.Drain();
    return Compare({pressed}, keyboard);
}
