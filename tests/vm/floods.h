#pragma once

#include <chrono>

#include "uinput_pad.h"

// Both sticks of a common pad at once.

/// In circles of the given radius, a frame each millisecond, as a fast wireless pad sends them.
void CircleSticks(UinputPad& pad, std::chrono::milliseconds duration, double radius);
void PutSticks(UinputPad& pad, int position);
void CentreSticks(UinputPad& pad);
/// More frames than the kernel keeps for a reader that does not read; the right stick stays within its band.
void Overflow(UinputPad& pad);
