#include "pad_model.h"

#include <utility>

namespace {

constexpr int kButton = 1;
constexpr int kAxis = 3;
constexpr int kHatX = 16;
constexpr int kHatY = 17;

struct TwoKeys {
    int upper;
    int lower;
};

const std::map<int, int> kButtonKeys = {{0, 36}, {1, 9}, {2, 148}, {11, 74}, {12, 571}};
const std::map<int, TwoKeys> kAxisKeys = {{0, {114, 113}}, {1, {116, 111}},     {3, {96, 95}},
                                          {4, {75, 76}},   {kHatX, {114, 113}}, {kHatY, {116, 111}}};

bool IsHat(int axis) {
    return axis == kHatX || axis == kHatY;
}

Band BandIn(const AxisRange& range) {
    const int64_t centre = (int64_t{range.maximum} + range.minimum) / 2;
    return {static_cast<int>(centre + (range.maximum - centre) / 2),
            static_cast<int>(centre + (range.minimum - centre) / 2)};
}

std::optional<int> ButtonKey(int button, int hubStatus) {
    if (button == 14 || button == 398) {
        return hubStatus == 0 ? 71 : 572;
    }
    const auto found = kButtonKeys.find(button);
    return found == kButtonKeys.end() ? std::nullopt : std::optional<int>(found->second);
}

std::optional<int> AxisKey(const PadModel& pad, int axis, int position) {
    const auto keys = kAxisKeys.find(axis);
    if (keys == kAxisKeys.end()) {
        return std::nullopt;
    }
    const Band band = pad.BandOf(axis);
    const bool up = IsHat(axis) ? position == 1 : position > band.upper;
    const bool down = IsHat(axis) ? position == -1 : position < band.lower;
    return up ? std::optional<int>(keys->second.upper) : down ? std::optional<int>(keys->second.lower) : std::nullopt;
}

}  // namespace

PadModel::PadModel(int itsId, std::string itsUid, const PadShape& shape) : id(itsId), uid(std::move(itsUid)) {
    for (const auto& [axis, range] : shape.ranges) {
        bands[axis] = BandIn(range);
    }
}

Band PadModel::BandOf(int axis) const {
    const auto found = bands.find(axis);
    return found == bands.end() ? Band{} : found->second;
}

std::optional<int> PressedKey(const PadModel& pad, const _gamepad_event_s& event, int hubStatus) {
    if (event.type == kButton && event.value == 1) {
        return ButtonKey(event.code, hubStatus);
    }
    return event.type == kAxis ? AxisKey(pad, event.code, event.value) : std::nullopt;
}

bool ReleasesKey(const PadModel& pad, const _gamepad_event_s& event, int pressedType, int pressedCode) {
    if (event.type != pressedType || event.code != pressedCode) {
        return false;
    }
    if (event.type == kButton || IsHat(event.code)) {
        return event.value == 0;
    }
    const Band band = pad.BandOf(event.code);
    return band.lower <= event.value && event.value <= band.upper;
}
