/// The community controller mapping format: one controller on each line,
///     GUID,name,target:source,...,
/// target  a b x y back guide start leftstick rightstick leftshoulder rightshoulder dpup dpdown dpleft dpright
///         leftx lefty rightx righty lefttrigger righttrigger misc1 paddle1 .. paddle4 touchpad; "+leftx" and "-leftx"
///         are the halves of an axis
/// source  bN button, aN axis, +aN and -aN half an axis, aN~ the same reversed, hN.M hat N with the sum M of
///         1 up, 2 right, 4 down, 8 left; nothing for what the pad does not have
/// and further fields: platform:Linux, crc:1a2b, hint:NAME:=1.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gamepad/mapping/guid.h"

namespace mapping {

// clang-format off
enum class Target : std::uint8_t {
    a, b, x, y, back, guide, start, leftstick, rightstick, leftshoulder, rightshoulder, dpup, dpdown, dpleft, dpright,
    misc1, paddle1, paddle2, paddle3, paddle4, touchpad,
    leftx, lefty, rightx, righty, lefttrigger, righttrigger,  // these are axes
};
// clang-format on

/// Between two positions of an axis that goes from -32768 to 32767; first > last when it runs backwards.
struct Range {
    int first;
    int last;
    bool operator==(const Range& other) const { return first == other.first && last == other.last; }
};
inline constexpr Range kWhole{-32768, 32767};
inline constexpr Range kUpper{0, 32767};
inline constexpr Range kLower{0, -32768};
inline constexpr Range kSwitch{0, 1};  // of a button

enum class SourceKind : std::uint8_t { button, axis, hat };

struct Source {
    SourceKind kind;
    int index;
    int hatMask;  // of a hat
    Range range;  // of an axis: where it counts
};

struct Binding {
    Target target;
    Range range;  // of the target: where it goes
    Source source;
};

struct Mapping {
    Guid guid;
    std::optional<std::uint16_t> checksum;  // the name checksum that it asks for
    std::string name;
    std::vector<Binding> bindings;  // in the order of the text
};

/// What a line turned out to be; problem is empty unless it, or a field of it, is malformed.
struct Line {
    std::optional<Mapping> mapping;  // none: comment, blank, another platform's, switched off by its hint, malformed
    std::string problem;             // one sentence that says what is ignored
};

Line ParseLine(std::string_view line);

}  // namespace mapping
