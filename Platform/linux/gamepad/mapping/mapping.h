/// Pads whose buttons are numbered by their maker's taste, turned into the platform's own numbering with the help of
/// the community controller mappings.
///
/// Usage    one Database per process; for each pad that is not read directly
///              if (auto translator = database.TranslatorFor(device)) for (const Output& o :
///              translator->Translate(...))
/// Errors   nothing throws but std::bad_alloc, and Translate not even that; what cannot be read or understood is told
///          once through __dlog_print (tag "QVXD").
#pragma once

#include <linux/input.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gamepad/mapping/capabilities.h"
#include "gamepad/mapping/format.h"
#include "locks/locks.h"

struct libevdev;

namespace mapping {

/// One event in the platform's terms.
///     EV_KEY  0 south, 1 east, 2 west, 3 north, 4 TL, 5 TR, 6 TL2, 7 TR2, 10 select, 11 start, 12 left stick,
///             13 right stick, 14 guide; 1 pressed, 0 released
///     EV_ABS  ABS_X, ABS_Y, ABS_RX, ABS_RY    -32768 (left, up) to 32767 (right, down)
///             ABS_Z, ABS_RZ (the triggers)    0 (released) to 32767
///             ABS_HAT0X, ABS_HAT0Y (the d-pad)  -1, 0, 1
/// A trigger that the pad has as a button or hat arrives as button 6 or 7, one that it has as an axis as ABS_Z or
/// ABS_RZ.
struct Output {
    std::uint16_t type;
    std::uint16_t code;
    std::int32_t value;
};

/// What one input event leads to: no outputs when it is not mapped or changes nothing. Lives on the caller's stack.
class Outputs {
public:
    static constexpr std::size_t kMost = 23;  // every output that there is, once

    void Add(Output output) noexcept { outputs_[count_++] = output; }
    const Output* begin() const noexcept { return outputs_.data(); }
    const Output* end() const noexcept { return outputs_.data() + count_; }
    std::size_t size() const noexcept { return count_; }
    bool empty() const noexcept { return count_ == 0; }

private:
    std::array<Output, kMost> outputs_;
    std::size_t count_ = 0;
};

/// The range of an output axis; fuzz and flat (the device's own) in the same units.
struct AxisRange {
    int minimum;
    int maximum;
    int fuzz;
    int flat;
};

/// One pad's mapping, compiled for that pad. Remembers the state of each source, so that an output with two sources is
/// released with the last of them. At the start everything counts as released and centred: what is held while the pad
/// is opened makes no event until it changes.
///
/// Threads  one at a time.
class Translator {
public:
    Translator(const Mapping& mapping, const Capabilities& capabilities);

    /// type, code and value are the kernel's; events other than EV_KEY and EV_ABS lead to nothing. Never allocates.
    Outputs Translate(std::uint16_t type, std::uint16_t code, std::int32_t value) noexcept;

    /// Whether the mapping uses this input at all: other keys of the pad may be delivered as they are.
    bool Uses(std::uint16_t type, std::uint16_t code) const noexcept;

    /// nullopt when the pad never delivers this output axis (ABS_X, ...).
    std::optional<AxisRange> RangeOf(std::uint16_t axis) const noexcept;

    /// Whether the pad can deliver this output (EV_KEY and a button number, or EV_ABS and an axis).
    bool Delivers(std::uint16_t type, std::uint16_t code) const noexcept;

    /// The controller's name in the mapping.
    const std::string& Name() const noexcept { return name_; }

private:
    /// From one raw input to one output.
    struct Route {
        SourceKind kind;
        std::uint16_t code;
        std::size_t slot;  // of the output
        int rawMinimum;    // of an axis
        int rawMaximum;
        Range from;   // the part of the source that counts; of a hat: where it counts as pressed, in last
        Range to;     // the part of an output axis
        int pressed;  // what it contributes when pressed, unless it is from an axis to an axis
        int fuzz;     // in units of the output
        int flat;
        int contribution;

        bool IsFrom(std::uint16_t type, std::uint16_t rawCode) const noexcept;
        int Contribution(int raw) const noexcept;
        int AlongAxis(int raw) const noexcept;
    };

    void AddRoutes(const Binding& binding, const Numbering& numbering, const Capabilities& capabilities);
    void AddButton(Route route, const Numbering& numbering, const Source& source);
    void AddAxis(Route route, const Numbering& numbering, const Source& source, const Capabilities& capabilities);
    void AddHat(Route route, const Numbering& numbering, const Source& source, const Capabilities& capabilities);
    int Combined(std::size_t slot) const noexcept;

    std::vector<Route> routes_;
    std::array<std::int32_t, Outputs::kMost> values_{};
    std::string name_;
};

/// Where mappings come from besides the built-in ones; later wins.
struct Sources {
    std::string environmentFile;  // $SDL_GAMECONTROLLERCONFIG_FILE; empty: none
    std::string environmentText;  // $SDL_GAMECONTROLLERCONFIG
    std::string userFile;         // $XDG_CONFIG_HOME/quorvex/gamecontrollerdb.txt

    static Sources OfThisUser();
};

/// All mappings. Costs nothing until the first look-up, and keeps no text: each look-up reads the user's files afresh,
/// so an edited file counts for the next pad that connects.
///
/// Threads  any. Blocks for the time that reading the user's files takes (they are refused beyond 8 MiB).
class Database {
public:
    explicit Database(Sources sources = Sources::OfThisUser());

    /// The mapping that fits best: the same version before any version, then the same name checksum before none before
    /// another one; the later source among equals. nullopt: unknown pad.
    std::optional<Mapping> Find(const DeviceId& id);

    /// Find for an open device, compiled for what it can do.
    std::optional<Translator> TranslatorFor(const libevdev* device);

private:
    const Sources sources_;
    Lock lock_;
    std::map<std::string, std::string> told_
        GUARDED_BY(lock_);  // by origin: the state of a text whose bad lines were told
};

}  // namespace mapping
