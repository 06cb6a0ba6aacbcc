/// How the inputs of one pad become the platform's buttons and axes (see button_table.h).
///
/// Standard   a pad whose driver names every button by its place is read directly, with its own axis ranges.
/// Mapped     every other pad that the community controller mappings know.
/// Automatic  the rest: names where the driver gives names, else the order in which pads are usually numbered.
#pragma once

#include <libevdev/libevdev.h>

#include <memory>
#include <string>
#include <vector>

#include "gamepad/axis.h"
#include "gamepad/mapping/mapping.h"

namespace gamepad {

/// Threads  one at a time. Translate never allocates.
class Layout {
public:
    virtual ~Layout() = default;

    /// type, code and value are the kernel's. Presses of what was held before the layout was made are not invented,
    /// and neither are releases of what was never pressed.
    virtual mapping::Outputs Translate(unsigned type, unsigned code, int value) = 0;

    /// The stick and trigger axes (ABS_X to ABS_RZ) that Translate can deliver.
    virtual std::vector<AxisSpec> Axes() const = 0;

    /// Whether the directional pad moves this hat axis.
    virtual bool HasHat(unsigned hat) const = 0;

    /// Whether Translate can deliver this button (a number of button_table.h).
    virtual bool HasButton(int number) const = 0;
};

/// A pad whose keys and axes are taken over one by one.
class DirectLayout : public Layout {
public:
    static std::unique_ptr<Layout> Standard(const libevdev* device);
    static std::unique_ptr<Layout> Automatic(const libevdev* device);

    mapping::Outputs Translate(unsigned type, unsigned code, int value) override;
    std::vector<AxisSpec> Axes() const override;
    bool HasHat(unsigned hat) const override;
    bool HasButton(int number) const override;

private:
    enum class Kind { Press, Direction, Hat, Position };
    struct Route {
        Kind kind;
        unsigned type;
        unsigned code;
        int output;     // button number or axis code
        int way;        // of a Direction
        AxisSpec spec;  // of a Hat (what it announces) or a Position (what is delivered)
        int state;      // 1 while a button is down; what a direction key or a hat adds to its hat axis
    };

    void AddButtons(const libevdev* device);
    void AddNumberedButtons(const libevdev* device);
    void AddDirections(const libevdev* device);
    void AddAxis(const libevdev* device, unsigned code, unsigned output);
    void AddAxes(const libevdev* device);
    void Press(Route& route, int value, mapping::Outputs& outputs) const;
    void Turn(Route& route, int way, mapping::Outputs& outputs) const;
    int HatPosition(int hat) const;

    std::vector<Route> routes_;
};

/// A pad whose inputs have the meaning that a controller mapping gives them.
class MappedLayout : public Layout {
public:
    MappedLayout(mapping::Translator translator, const libevdev* device);

    mapping::Outputs Translate(unsigned type, unsigned code, int value) override;
    std::vector<AxisSpec> Axes() const override;
    bool HasHat(unsigned hat) const override;
    bool HasButton(int number) const override;

private:
    mapping::Translator translator_;
    bool has_home_key_;  // KEY_HOMEPAGE, which mappings do not know
    bool home_is_down_ = false;
};

/// BTN_SOUTH alone does not make a standard pad: drivers that know no better number the buttons through from there and
/// then use BTN_C and BTN_Z too.
bool IsStandard(const libevdev* device);

struct ChosenLayout {
    std::unique_ptr<Layout> layout;
    bool standard = false;
    std::string description;  // for people
};
ChosenLayout ChooseLayout(const libevdev* device, mapping::Database& database);

}  // namespace gamepad
