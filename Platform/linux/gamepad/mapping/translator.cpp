#include <algorithm>
#include <cstdlib>

#include "gamepad/mapping/mapping.h"

namespace mapping {
namespace {

// The outputs in one row: buttons 0 to 14, the six axes, the two axes of the d-pad.
constexpr std::size_t kFirstAxis = 15;
constexpr std::size_t kDpadX = 21;
constexpr std::size_t kDpadY = 22;
constexpr std::size_t kNowhere = Outputs::kMost;

struct Place {
    std::size_t slot;
    int pressed;  // what a pressed button is worth there
};

// By the platform's numbering; the order is that of Target. Extra buttons have no number there.
constexpr std::array<Place, 21> kPlaceOfButton{
    {{0, 1},      {1, 1},        {2, 1},        {3, 1},        {10, 1},       {14, 1},       {11, 1},
     {12, 1},     {13, 1},       {4, 1},        {5, 1},        {kDpadY, -1},  {kDpadY, 1},   {kDpadX, -1},
     {kDpadX, 1}, {kNowhere, 0}, {kNowhere, 0}, {kNowhere, 0}, {kNowhere, 0}, {kNowhere, 0}, {kNowhere, 0}}};
constexpr std::array<std::uint16_t, 6> kCodeOfAxis{ABS_X, ABS_Y, ABS_RX, ABS_RY, ABS_Z, ABS_RZ};  // from leftx on
constexpr Place kLeftTriggerButton{6, 1};
constexpr Place kRightTriggerButton{7, 1};

constexpr std::size_t SlotOfAxis(std::uint16_t code) {
    return kFirstAxis + code;
}

bool IsButtonSlot(std::size_t slot) {
    return slot < kFirstAxis;
}
bool IsAxisSlot(std::size_t slot) {
    return slot >= kFirstAxis && slot < kDpadX;
}

std::size_t SlotOf(std::uint16_t type, std::uint16_t code) {
    if (type == EV_KEY) {
        return code < kFirstAxis ? code : kNowhere;
    }
    if (type != EV_ABS) {
        return kNowhere;
    }
    return code == ABS_HAT0X ? kDpadX : code == ABS_HAT0Y ? kDpadY : code <= ABS_RZ ? SlotOfAxis(code) : kNowhere;
}

Output OutputOf(std::size_t slot, std::int32_t value) {
    if (IsButtonSlot(slot)) {
        return {EV_KEY, static_cast<std::uint16_t>(slot), value};
    }
    if (IsAxisSlot(slot)) {
        return {EV_ABS, static_cast<std::uint16_t>(slot - kFirstAxis), value};
    }
    return {EV_ABS, slot == kDpadX ? std::uint16_t{ABS_HAT0X} : std::uint16_t{ABS_HAT0Y}, value};
}

constexpr std::int64_t kWidth = kWhole.last - kWhole.first;

bool Contains(Range range, int value) {
    return value >= std::min(range.first, range.last) && value <= std::max(range.first, range.last);
}

// Of the way from the first to the last position of `from`, the same part of the way of `to`.
int Moved(int value, Range from, Range to) {
    const std::int64_t fromWidth = std::int64_t{from.last} - from.first;
    const std::int64_t toWidth = std::int64_t{to.last} - to.first;
    return fromWidth == 0 ? to.first : static_cast<int>(to.first + (value - from.first) * toWidth / fromWidth);
}

bool IsBeyondMiddle(int value, Range range) {
    const int middle = range.first + (range.last - range.first) / 2;
    return range.first < range.last ? value >= middle : value <= middle;
}

// A raw position on the scale of kWhole, rounded.
int ToWhole(std::int64_t raw, std::int64_t minimum, std::int64_t maximum) {
    const std::int64_t width = maximum - minimum;
    if (width <= 0) {
        return static_cast<int>(std::clamp<std::int64_t>(raw, kWhole.first, kWhole.last));
    }
    const std::int64_t along = std::clamp(raw, minimum, maximum) - minimum;
    return static_cast<int>((2 * along * kWidth + width) / (2 * width) + kWhole.first);
}

// A distance on the raw axis as one on the output axis.
int DistanceMoved(int distance, const input_absinfo& axis, Range from, Range to) {
    const std::int64_t width = std::int64_t{axis.maximum} - axis.minimum;
    const std::int64_t whole = width > 0 ? std::max(distance, 0) * kWidth / width : 0;
    const std::int64_t moved = whole * std::abs(to.last - to.first) / std::abs(from.last - from.first);
    return static_cast<int>(std::min(moved, kWidth));
}

Place PlaceOf(const Binding& binding) {
    if (binding.target < Target::leftx) {
        return kPlaceOfButton[static_cast<std::size_t>(binding.target)];
    }
    if (binding.target >= Target::lefttrigger && binding.source.kind != SourceKind::axis) {
        return binding.target == Target::lefttrigger ? kLeftTriggerButton : kRightTriggerButton;
    }
    const auto axis = static_cast<std::size_t>(binding.target) - static_cast<std::size_t>(Target::leftx);
    return {SlotOfAxis(kCodeOfAxis[axis]), binding.range.last};
}

// The hat's axis and direction that each bit of a mask stands for.
struct HatBit {
    int mask;
    std::uint16_t axis;  // 0 x, 1 y
    bool positive;
};
constexpr std::array<HatBit, 4> kHatBits{{{1, 1, false}, {2, 0, true}, {4, 1, true}, {8, 0, false}}};

// Where a hat's axis counts as pushed: anywhere off the centre; a third of the way on one with many positions.
int PushedFrom(const std::optional<input_absinfo>& axis, bool positive) {
    if (!axis) {
        return positive ? 1 : -1;
    }
    return positive ? std::max(axis->maximum / 3, 0) + 1 : std::min(axis->minimum / 3, 0) - 1;
}

}  // namespace

Translator::Translator(const Mapping& mapping, const Capabilities& capabilities) : name_(mapping.name) {
    const Numbering numbering(capabilities);
    for (const Binding& binding : mapping.bindings) {
        AddRoutes(binding, numbering, capabilities);
    }
}

void Translator::AddRoutes(const Binding& binding, const Numbering& numbering, const Capabilities& capabilities) {
    const Place place = PlaceOf(binding);
    const Source& source = binding.source;
    Route route{};
    route.kind = source.kind;
    route.slot = place.slot;
    route.from = source.range;
    route.to = binding.range;
    route.pressed = place.pressed;
    if (place.slot == kNowhere) {
        return;
    }
    switch (source.kind) {
        case SourceKind::button:
            return AddButton(route, numbering, source);
        case SourceKind::axis:
            return AddAxis(route, numbering, source, capabilities);
        case SourceKind::hat:
            return AddHat(route, numbering, source, capabilities);
    }
}

void Translator::AddButton(Route route, const Numbering& numbering, const Source& source) {
    const auto index = static_cast<std::size_t>(source.index);
    if (index < numbering.buttons.size()) {
        route.code = numbering.buttons[index];
        routes_.push_back(route);
    }
}

void Translator::AddAxis(Route route, const Numbering& numbering, const Source& source,
                         const Capabilities& capabilities) {
    const auto index = static_cast<std::size_t>(source.index);
    if (index < numbering.axes.size()) {
        route.code = numbering.axes[index];
        const input_absinfo& axis = *capabilities.axes[route.code];
        route.rawMinimum = axis.minimum;
        route.rawMaximum = axis.maximum;
        route.fuzz = DistanceMoved(axis.fuzz, axis, route.from, route.to);
        route.flat = DistanceMoved(axis.flat, axis, route.from, route.to);
        routes_.push_back(route);
    }
}

void Translator::AddHat(Route route, const Numbering& numbering, const Source& source,
                        const Capabilities& capabilities) {
    const auto index = static_cast<std::size_t>(source.index);
    if (index >= numbering.hats.size()) {
        return;
    }
    for (const HatBit& bit : kHatBits) {
        if ((source.hatMask & bit.mask) != 0) {
            route.code = static_cast<std::uint16_t>(numbering.hats[index] + bit.axis);
            route.from.last = PushedFrom(capabilities.axes[route.code], bit.positive);
            routes_.push_back(route);
        }
    }
}

bool Translator::Route::IsFrom(std::uint16_t type, std::uint16_t rawCode) const noexcept {
    return code == rawCode && type == (kind == SourceKind::button ? EV_KEY : EV_ABS);
}

int Translator::Route::Contribution(int raw) const noexcept {
    switch (kind) {
        case SourceKind::button:
            return raw != 0 ? pressed : 0;
        case SourceKind::hat:
            return (from.last > 0 ? raw >= from.last : raw <= from.last) ? pressed : 0;
        case SourceKind::axis:
            return AlongAxis(raw);
    }
    return 0;
}

int Translator::Route::AlongAxis(int raw) const noexcept {
    const int position = ToWhole(raw, rawMinimum, rawMaximum);
    if (!Contains(from, position)) {
        return 0;
    }
    if (IsAxisSlot(slot)) {
        return Moved(position, from, to);
    }
    return IsBeyondMiddle(position, from) ? pressed : 0;
}

// Opposite directions held at once cancel each other out.
int Translator::Combined(std::size_t slot) const noexcept {
    int lowest = 0;
    int highest = 0;
    for (const Route& route : routes_) {
        if (route.slot == slot) {
            lowest = std::min(lowest, route.contribution);
            highest = std::max(highest, route.contribution);
        }
    }
    return lowest + highest;
}

// All routes of the input change before any output is looked at: a hat that swings from left to right makes one event.
Outputs Translator::Translate(std::uint16_t type, std::uint16_t code, std::int32_t value) noexcept {
    Outputs outputs;
    for (Route& route : routes_) {
        if (route.IsFrom(type, code)) {
            route.contribution = route.Contribution(value);
        }
    }
    for (const Route& route : routes_) {
        const int combined = route.IsFrom(type, code) ? Combined(route.slot) : values_[route.slot];
        if (combined != values_[route.slot]) {
            values_[route.slot] = combined;
            outputs.Add(OutputOf(route.slot, combined));
        }
    }
    return outputs;
}

bool Translator::Uses(std::uint16_t type, std::uint16_t code) const noexcept {
    return std::any_of(routes_.begin(), routes_.end(), [&](const Route& route) { return route.IsFrom(type, code); });
}

bool Translator::Delivers(std::uint16_t type, std::uint16_t code) const noexcept {
    const std::size_t slot = SlotOf(type, code);
    return std::any_of(routes_.begin(), routes_.end(), [&](const Route& route) { return route.slot == slot; });
}

std::optional<AxisRange> Translator::RangeOf(std::uint16_t axis) const noexcept {
    if (!Delivers(EV_ABS, axis)) {
        return std::nullopt;
    }
    const std::size_t slot = SlotOf(EV_ABS, axis);
    if (!IsAxisSlot(slot)) {
        return AxisRange{-1, 1, 0, 0};
    }
    const bool isTrigger = axis == ABS_Z || axis == ABS_RZ;
    AxisRange range{isTrigger ? kUpper.first : kWhole.first, kWhole.last, 0, 0};
    for (const Route& route : routes_) {
        if (route.slot == slot) {
            range.fuzz = std::max(range.fuzz, route.fuzz);
            range.flat = std::max(range.flat, route.flat);
        }
    }
    return range;
}

}  // namespace mapping
