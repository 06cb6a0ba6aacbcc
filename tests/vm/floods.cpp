#include "floods.h"

#include <cmath>

#include "deadline.h"

namespace {

constexpr int kMoreFramesThanTheKernelKeeps = 5000;

}  // namespace

void CircleSticks(UinputPad& pad, milliseconds duration, double radius) {
    auto next = Clock::now();
    const auto end = next + duration;
    for (int frame = 0; next < end; ++frame) {
        const double angle = frame / 20.0;
        const int across = static_cast<int>(radius * std::cos(angle));
        const int along = static_cast<int>(radius * std::sin(angle));
        pad.Send({{EV_ABS, ABS_X, across}, {EV_ABS, ABS_Y, along}, {EV_ABS, ABS_RX, along}, {EV_ABS, ABS_RY, across}});
        std::this_thread::sleep_until(next += milliseconds(1));
    }
}

void PutSticks(UinputPad& pad, int position) {
    pad.Send(
        {{EV_ABS, ABS_X, position}, {EV_ABS, ABS_Y, position}, {EV_ABS, ABS_RX, position}, {EV_ABS, ABS_RY, position}});
}

void CentreSticks(UinputPad& pad) {
    PutSticks(pad, 0);
}

void Overflow(UinputPad& pad) {
    for (int frame = 0; frame < kMoreFramesThanTheKernelKeeps; ++frame) {
        pad.Send({{EV_ABS, ABS_RX, frame % 9000}, {EV_ABS, ABS_RY, -(frame % 9000)}});
    }
}
