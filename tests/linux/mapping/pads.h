/// Made-up devices.
#pragma once

#include <linux/input.h>

#include <initializer_list>
#include <utility>

#include "gamepad/mapping/capabilities.h"

inline constexpr input_absinfo kStick{0, -32768, 32767, 16, 128, 0};
inline constexpr input_absinfo kByte{128, 0, 255, 0, 15, 0};
inline constexpr input_absinfo kHat{0, -1, 1, 0, 0, 0};

mapping::Capabilities Pad(std::initializer_list<unsigned> keys,
                          std::initializer_list<std::pair<unsigned, input_absinfo>> axes);

/// Twelve numbered buttons, six axes of different ranges, two hats.
mapping::Capabilities NumberedPad();
