#include "gamepad/axis.h"

#include <algorithm>
#include <cstdlib>

namespace gamepad {
namespace {

constexpr int kFarthest = 1 << 30;

// Parts of the whole range. Many drivers announce no fuzz or flat at all, so a worn stick would never be at rest: it
// gets the least values. The greatest ones keep a careless device from declaring half of its range to be noise.
constexpr int kLeastFlat = 64;
constexpr int kMostFlat = 8;
constexpr int kLeastFuzz = 64;
constexpr int kMostFuzz = 16;

int Limited(int value, int range, int least, int most) {
    return std::clamp(value, range / least, range / most);
}

int HalfWay(int centre, int end) {
    return centre + (end - centre) / 2;
}

}  // namespace

std::optional<AxisSpec> SpecOf(std::uint16_t code, const input_absinfo& announced) {
    const auto [low, high] = std::minmax(announced.minimum, announced.maximum);
    const int minimum = std::clamp(low, -kFarthest, kFarthest);
    const int maximum = std::clamp(high, -kFarthest, kFarthest);
    if (minimum == maximum) {
        return std::nullopt;
    }
    return AxisSpec{code,
                    minimum,
                    maximum,
                    std::max(announced.fuzz, 0),
                    std::max(announced.flat, 0),
                    std::clamp(announced.value, minimum, maximum)};
}

Axis::Axis(const AxisSpec& spec) : spec_(spec), centre_((spec.maximum + spec.minimum) / 2), last_(spec.start) {}

Zone Axis::ZoneOf(int position) const {
    if (position > HalfWay(centre_, spec_.maximum)) {
        return Zone::High;
    }
    return position < HalfWay(centre_, spec_.minimum) ? Zone::Low : Zone::Middle;
}

int Axis::Snapped(int position) const {
    const int inside = std::clamp(position, spec_.minimum, spec_.maximum);
    const long long range = static_cast<long long>(spec_.maximum) - spec_.minimum;
    const int flat =
        Limited(spec_.flat, static_cast<int>(std::min<long long>(range, kFarthest)), kLeastFlat, kMostFlat);
    return std::abs(inside - centre_) <= flat ? centre_ : inside;
}

// The kernel applies the device's fuzz to the single steps only; slow drift passes it. Crossing the push threshold and
// arriving at the centre or at an end is never noise beyond what the device itself calls so.
bool Axis::IsNoise(int position) const {
    const long long range = static_cast<long long>(spec_.maximum) - spec_.minimum;
    const int bounded = static_cast<int>(std::min<long long>(range, kFarthest));
    const long long step = std::llabs(static_cast<long long>(position) - last_);
    const bool arrives = position == centre_ || position == spec_.minimum || position == spec_.maximum;
    if (step == 0 || arrives) {
        return step == 0;
    }
    if (ZoneOf(position) != ZoneOf(last_)) {
        return step <= std::min(spec_.fuzz, bounded / kMostFuzz);
    }
    return step <= Limited(spec_.fuzz, bounded, kLeastFuzz, kMostFuzz);
}

std::optional<int> Axis::Settle(int position) {
    const int settled = Snapped(position);
    if (IsNoise(settled)) {
        return std::nullopt;
    }
    last_ = settled;
    return settled;
}

}  // namespace gamepad
