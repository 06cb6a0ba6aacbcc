/// What somebody does with a pad, the same for every program.
#pragma once

#include <vector>

#include "keyboard.h"
#include "uinput_pad.h"

/// What came of presses.
struct Delivery {
    std::vector<Clock::duration> latencies;  ///< from the pad's press to the key's, in order; of those that came
    int lost;                                ///< keys that did not come, and those that came without a reason
};

/// The south button pressed and released so many times, 20 times a second, at moments that are spread over the time
/// between two looks of a program that looks every 50 ms, and are the same in every run.
Delivery PressAndRelease(UinputPad& pad, Keyboard& keyboard, int pairs);

/// One stick in circles that count as no push.
void MoveAStick(UinputPad& pad, int timesASecond, std::chrono::seconds duration);
/// Both sticks in circles that count as no push, then the south button.
Delivery Flood(UinputPad& pad, Keyboard& keyboard, int timesASecond, std::chrono::seconds duration);
