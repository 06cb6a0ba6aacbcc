#include "gamepad/layout.h"

#include <algorithm>
#include <array>
#include <utility>

#include "gamepad/button_table.h"
#include "gamepad/pad_identity.h"

namespace gamepad {
namespace {

bool HasKey(const libevdev* device, unsigned key) {
    return libevdev_has_event_code(device, EV_KEY, key) == 1;
}

bool HasAxis(const libevdev* device, unsigned axis) {
    return libevdev_has_event_code(device, EV_ABS, axis) == 1;
}

std::optional<AxisSpec> SpecIn(const libevdev* device, unsigned code) {
    const input_absinfo* info = libevdev_get_abs_info(device, code);
    return info == nullptr ? std::nullopt : SpecOf(static_cast<std::uint16_t>(code), *info);
}

mapping::Output ButtonOutput(int number, bool down) {
    return {EV_KEY, static_cast<std::uint16_t>(number), down ? 1 : 0};
}

mapping::Output AxisOutput(int axis, int position) {
    return {EV_ABS, static_cast<std::uint16_t>(axis), position};
}

bool IsNumberedThrough(const libevdev* device) {
    return !HasKey(device, BTN_SOUTH) || (HasKey(device, BTN_C) && HasKey(device, BTN_Z));
}

}  // namespace

bool IsStandard(const libevdev* device) {
    static constexpr std::array<unsigned, 6> kKeys{BTN_SOUTH, BTN_EAST, BTN_NORTH, BTN_WEST, BTN_SELECT, BTN_START};
    static constexpr std::array<unsigned, 4> kAxes{ABS_X, ABS_Y, ABS_RX, ABS_RY};
    return std::all_of(kKeys.begin(), kKeys.end(), [device](unsigned key) { return HasKey(device, key); }) &&
           std::all_of(kAxes.begin(), kAxes.end(), [device](unsigned axis) { return HasAxis(device, axis); }) &&
           !HasKey(device, BTN_C) && !HasKey(device, BTN_Z);
}

// Axes first: moving sticks tell far more than all the rest, and routes are looked for in their order.
std::unique_ptr<Layout> DirectLayout::Standard(const libevdev* device) {
    auto layout = std::make_unique<DirectLayout>();
    for (unsigned axis = ABS_X; axis <= ABS_RZ; ++axis) {
        layout->AddAxis(device, axis, axis);
    }
    layout->AddButtons(device);
    layout->AddDirections(device);
    return layout;
}

std::unique_ptr<Layout> DirectLayout::Automatic(const libevdev* device) {
    auto layout = std::make_unique<DirectLayout>();
    layout->AddAxes(device);
    if (IsNumberedThrough(device)) {
        layout->AddNumberedButtons(device);
    } else {
        layout->AddButtons(device);
    }
    layout->AddDirections(device);
    return layout;
}

void DirectLayout::AddButtons(const libevdev* device) {
    for (const ButtonNumber& button : Buttons()) {
        if (HasKey(device, button.key)) {
            routes_.push_back({Kind::Press, EV_KEY, button.key, button.number, 0, {}, 0});
        }
    }
}

/// Pads that only number their buttons mostly follow this order; the first accepts, the second goes back.
void DirectLayout::AddNumberedButtons(const libevdev* device) {
    static constexpr std::array<unsigned, 13> kOrder{BTN_SOUTH,  BTN_EAST,   BTN_WEST, BTN_NORTH,  BTN_TL,
                                                     BTN_TR,     BTN_TL2,    BTN_TR2,  BTN_SELECT, BTN_START,
                                                     BTN_THUMBL, BTN_THUMBR, BTN_MODE};
    const auto* next = kOrder.begin();
    for (unsigned key = BTN_JOYSTICK; key < BTN_DIGI && next != kOrder.end(); ++key) {
        if (HasKey(device, key)) {
            routes_.push_back({Kind::Press, EV_KEY, key, ButtonOf(*next++).value_or(0), 0, {}, 0});
        }
    }
    if (HasKey(device, KEY_HOMEPAGE)) {
        routes_.push_back({Kind::Press, EV_KEY, KEY_HOMEPAGE, ButtonOf(KEY_HOMEPAGE).value_or(0), 0, {}, 0});
    }
}

void DirectLayout::AddDirections(const libevdev* device) {
    for (const DirectionKey& direction : DirectionKeys()) {
        if (HasKey(device, direction.key)) {
            routes_.push_back({Kind::Direction, EV_KEY, direction.key, direction.hat, direction.way, {}, 0});
        }
    }
    for (unsigned hat = ABS_HAT0X; hat <= ABS_HAT0Y; ++hat) {
        if (const auto spec = SpecIn(device, hat)) {
            routes_.push_back({Kind::Hat, EV_ABS, hat, static_cast<int>(hat), 0, *spec, 0});
        }
    }
}

void DirectLayout::AddAxis(const libevdev* device, unsigned code, unsigned output) {
    if (auto spec = SpecIn(device, code)) {
        spec->code = static_cast<std::uint16_t>(output);
        routes_.push_back({Kind::Position, EV_ABS, code, static_cast<int>(output), 0, *spec, 0});
    }
}

/// Where there is no RX/RY pair, Z and RZ are the right stick, and triggers (if analogue) are called gas and brake.
void DirectLayout::AddAxes(const libevdev* device) {
    const bool has_r_pair = HasAxis(device, ABS_RX) && HasAxis(device, ABS_RY);
    AddAxis(device, ABS_X, ABS_X);
    AddAxis(device, ABS_Y, ABS_Y);
    AddAxis(device, has_r_pair ? ABS_RX : ABS_Z, ABS_RX);
    AddAxis(device, has_r_pair ? ABS_RY : ABS_RZ, ABS_RY);
    AddAxis(device, has_r_pair ? ABS_Z : ABS_BRAKE, ABS_Z);
    AddAxis(device, has_r_pair ? ABS_RZ : ABS_GAS, ABS_RZ);
}

/// Auto-repeat (value 2) is no press.
void DirectLayout::Press(Route& route, int value, mapping::Outputs& outputs) const {
    if ((value == 0 || value == 1) && value != route.state) {
        route.state = value;
        outputs.Add(ButtonOutput(route.output, value == 1));
    }
}

/// Left and right held together cancel each other, as on a pad that cannot press both.
int DirectLayout::HatPosition(int hat) const {
    int sum = 0;
    for (const Route& route : routes_) {
        const bool moves = route.kind == Kind::Direction || route.kind == Kind::Hat;
        sum += moves && route.output == hat ? route.state : 0;
    }
    return std::clamp(sum, -1, 1);
}

void DirectLayout::Turn(Route& route, int way, mapping::Outputs& outputs) const {
    const int before = HatPosition(route.output);
    route.state = way;
    const int now = HatPosition(route.output);
    if (now != before) {
        outputs.Add(AxisOutput(route.output, now));
    }
}

mapping::Outputs DirectLayout::Translate(unsigned type, unsigned code, int value) {
    mapping::Outputs outputs;
    const auto route = std::find_if(routes_.begin(), routes_.end(), [type, code](const Route& candidate) {
        return candidate.type == type && candidate.code == code;
    });
    if (route == routes_.end()) {
        return outputs;
    }
    switch (route->kind) {
        case Kind::Press:
            Press(*route, value, outputs);
            break;
        case Kind::Direction:
            Turn(*route, value != 0 ? route->way : 0, outputs);
            break;
        case Kind::Hat:
            Turn(*route, static_cast<int>(Axis(route->spec).ZoneOf(value)) - static_cast<int>(Zone::Middle), outputs);
            break;
        case Kind::Position:
            outputs.Add(AxisOutput(route->output, std::clamp(value, route->spec.minimum, route->spec.maximum)));
            break;
    }
    return outputs;
}

std::vector<AxisSpec> DirectLayout::Axes() const {
    std::vector<AxisSpec> axes;
    for (const Route& route : routes_) {
        if (route.kind == Kind::Position) {
            axes.push_back(route.spec);
        }
    }
    return axes;
}

bool DirectLayout::HasHat(unsigned hat) const {
    return std::any_of(routes_.begin(), routes_.end(), [hat](const Route& route) {
        return (route.kind == Kind::Direction || route.kind == Kind::Hat) && route.output == static_cast<int>(hat);
    });
}

bool DirectLayout::HasButton(int number) const {
    return std::any_of(routes_.begin(), routes_.end(),
                       [number](const Route& route) { return route.kind == Kind::Press && route.output == number; });
}

MappedLayout::MappedLayout(mapping::Translator translator, const libevdev* device)
    : translator_(std::move(translator)),
      has_home_key_(HasKey(device, KEY_HOMEPAGE) && !translator_.Uses(EV_KEY, KEY_HOMEPAGE)) {}

mapping::Outputs MappedLayout::Translate(unsigned type, unsigned code, int value) {
    if (!has_home_key_ || type != EV_KEY || code != KEY_HOMEPAGE) {
        return translator_.Translate(static_cast<std::uint16_t>(type), static_cast<std::uint16_t>(code), value);
    }
    mapping::Outputs outputs;
    const bool down = value != 0;
    if (down != home_is_down_) {
        home_is_down_ = down;
        outputs.Add(ButtonOutput(ButtonOf(KEY_HOMEPAGE).value_or(0), down));
    }
    return outputs;
}

std::vector<AxisSpec> MappedLayout::Axes() const {
    std::vector<AxisSpec> axes;
    for (std::uint16_t axis = ABS_X; axis <= ABS_RZ; ++axis) {
        if (const auto range = translator_.RangeOf(axis)) {
            axes.push_back({axis, range->minimum, range->maximum, range->fuzz, range->flat, /*start=*/0});
        }
    }
    return axes;
}

bool MappedLayout::HasHat(unsigned hat) const {
    return translator_.Delivers(EV_ABS, static_cast<std::uint16_t>(hat));
}

bool MappedLayout::HasButton(int number) const {
    const bool is_home_key = has_home_key_ && ButtonOf(KEY_HOMEPAGE) == number;
    return is_home_key || translator_.Delivers(EV_KEY, static_cast<std::uint16_t>(number));
}

ChosenLayout ChooseLayout(const libevdev* device, mapping::Database& database) {
    ChosenLayout chosen;
    if (IsStandard(device)) {
        chosen.layout = DirectLayout::Standard(device);
        chosen.standard = true;
        chosen.description = "standard layout";
    } else if (auto translator = database.TranslatorFor(device)) {
        chosen.description = "mapped as \"" + Printable(translator->Name()) + "\"";
        chosen.layout = std::make_unique<MappedLayout>(std::move(*translator), device);
    } else {
        chosen.layout = DirectLayout::Automatic(device);
        chosen.description = "not in the controller mappings: buttons are guessed, add a mapping if they sit wrong";
    }
    return chosen;
}

}  // namespace gamepad
