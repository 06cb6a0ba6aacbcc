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

int RangeOf(const AxisSpec& spec) {
    return static_cast<int>(std::min<long long>(static_cast<long long>(spec.maximum) - spec.minimum, kFarthest));
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

Axis::Axis(const AxisSpec& spec)
    : spec_(spec),
      centre_((spec.maximum + spec.minimum) / 2),
      high_(HalfWay(centre_, spec.maximum)),
      low_(HalfWay(centre_, spec.minimum)),
      flat_(Limited(spec.flat, RangeOf(spec), kLeastFlat, kMostFlat)),
      noise_(Limited(spec.fuzz, RangeOf(spec), kLeastFuzz, kMostFuzz)),
      crossingNoise_(std::min(spec.fuzz, RangeOf(spec) / kMostFuzz)),
      last_(spec.start) {}

Zone Axis::ZoneOf(int position) const {
    if (position > high_) {
        return Zone::High;
    }
    return position < low_ ? Zone::Low : Zone::Middle;
}

int Axis::Snapped(int position) const {
    const int inside = std::clamp(position, spec_.minimum, spec_.maximum);
    return std::abs(inside - centre_) <= flat_ ? centre_ : inside;
}

// The kernel applies the device's fuzz to the single steps only; slow drift passes it. Crossing the push threshold and
// arriving at the centre or at an end is never noise beyond what the device itself calls so.
bool Axis::IsNoise(int position) const {
    const long long step = std::llabs(static_cast<long long>(position) - last_);
    const bool arrives = position == centre_ || position == spec_.minimum || position == spec_.maximum;
    if (step == 0 || arrives) {
        return step == 0;
    }
    return step <= (ZoneOf(position) != ZoneOf(last_) ? crossingNoise_ : noise_);
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
