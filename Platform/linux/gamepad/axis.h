/// One axis of a pad: what it can deliver, what is only jitter, and when it counts as pushed.
#pragma once

#include <linux/input.h>

#include <cstdint>
#include <optional>

namespace gamepad {

/// The range is never empty and its ends lie within +-2^30, so that sums and differences of positions fit an int.
struct AxisSpec {
    std::uint16_t code;
    int minimum;
    int maximum;
    int fuzz;   // steps this small are noise, says the device
    int flat;   // this near the centre is the centre, says the device
    int start;  // the position while nothing was delivered yet
};

/// What a device announces, made safe: inverted ends are exchanged, huge ones cut. nullopt: an empty range says nothing
/// about any position, so such an axis is not delivered at all.
std::optional<AxisSpec> SpecOf(std::uint16_t code, const input_absinfo& announced);

enum class Zone : std::uint8_t { Low, Middle, High };

/// Positions in, positions worth delivering out.
class Axis {
public:
    explicit Axis(const AxisSpec& spec);

    const AxisSpec& Spec() const { return spec_; }

    /// The position to deliver; nullopt when nothing worth telling changed: the same position, a step of noise, a
    /// drift around the centre.
    std::optional<int> Settle(int position);

    /// Beyond half of the way from the centre to an end: the rule by which a stick counts as pushed.
    Zone ZoneOf(int position) const;

private:
    int Snapped(int position) const;
    bool IsNoise(int position) const;

    const AxisSpec spec_;
    const int centre_;
    const int high_;  // pushed beyond it
    const int low_;
    const int flat_;
    const int noise_;          // steps up to this
    const int crossingNoise_;  // those over the threshold of a push
    int last_;
};

}  // namespace gamepad
