// What SDL makes of a device, and what we do, from the same raw events: both sides read one synthetic event device,
// SDL with its own driver. Devices with several hats have no axis codes behind the first hat's: SDL 2.26 miscounts
// them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "fake_evdev.h"
#include "gamepad/mapping/mapping.h"
#include "log_record.h"
#include "pads.h"
#include "sdl_pad.h"

using namespace mapping;

namespace {

constexpr std::size_t kGuidDigits = 32;

// Every kind of range that real pads have, and more buttons than any mapping counts.
Capabilities RichPad() {
    Capabilities pad = NumberedPad();
    const std::array<std::pair<unsigned, unsigned>, 5> keys{
        {{BTN_TRIGGER, 12}, {BTN_SOUTH, 15}, {BTN_TRIGGER_HAPPY2, 39}, {KEY_OK, 48}, {KEY_ESC, 25}}};
    for (const auto& [first, count] : keys) {
        for (unsigned key = first; key < first + count; ++key) {
            pad.keys.set(key);
        }
    }
    for (unsigned axis = ABS_THROTTLE; axis < ABS_HAT0X - 1; ++axis) {
        pad.axes[axis] = {0, -1000, 1000 + static_cast<int>(axis), 0, 0, 0};
    }
    pad.axes[ABS_HAT1X] = pad.axes[ABS_HAT1Y] = std::nullopt;
    return pad;
}

const DeviceId kMadeUp{3, 0xaaaa, 0xbbbb, 0x0111, "Made Up"};
const std::string kMadeUpGuid = "03000000aaaa0000bbbb000011010000";

/// The state that our outputs add up to.
class OurPad {
public:
    OurPad(const Mapping& mapping, const Capabilities& can) : translator_(mapping, can) {}

    void Feed(int type, int code, int value) {
        const auto outputs =
            translator_.Translate(static_cast<std::uint16_t>(type), static_cast<std::uint16_t>(code), value);
        for (const Output& output : outputs) {
            state_[{output.type, output.code}] = output.value;
        }
    }

    bool Pressed(int button) { return state_[{EV_KEY, button}] == 1; }
    int Position(int axis) { return state_[{EV_ABS, axis}]; }

private:
    Translator translator_;
    std::map<std::pair<int, int>, int> state_;
};

/// One synthetic device, seen by both.
class BothPads {
public:
    BothPads(const DeviceId& id, const Capabilities& can, const Mapping& ours, const std::string& extraMapping = "")
        : device_(id, can), sdl_(device_, extraMapping), ours_(ours, can) {}

    const SdlPad& Sdl() const { return sdl_; }

    // The first disagreement, if any, after each button was pressed and released and each axis and hat was moved about.
    std::string FirstDifference() {
        ForEachAxis([&](int axis, const input_absinfo& info) { Move(axis, EndsOf(info)); });
        ForEachAxis([&](int axis, const input_absinfo& info) { MoveAndCompare(EV_ABS, axis, PositionsOf(info)); });
        for (int key = 0; key < KEY_CNT; ++key) {
            if (device_.Can().keys[static_cast<std::size_t>(key)]) {
                MoveAndCompare(EV_KEY, key, {1, 0});
            }
        }
        return difference_;
    }

    int Comparisons() const { return comparisons_; }

private:
    // Off the middle, where reversed halves jump from one end to the other and rounding decides between them.
    static constexpr int kRest = 52;

    static int At(const input_absinfo& axis, int percent) {
        return axis.minimum + (axis.maximum - axis.minimum) * percent / 100;
    }

    // SDL starts with the position that it finds and leaves it only for a move by more than an eightieth; we start with
    // the centre. Once an axis went from end to end they agree.
    static std::vector<int> EndsOf(const input_absinfo& axis) { return {At(axis, 0), At(axis, 100), At(axis, kRest)}; }

    static std::vector<int> PositionsOf(const input_absinfo& axis) {
        std::vector<int> positions;
        for (const int percent : {0, 10, 24, 26, 49, 51, 74, 76, 90, 100, 0, 100, kRest}) {
            positions.push_back(At(axis, percent));
        }
        return positions;
    }

    template <typename Function>
    void ForEachAxis(Function function) {
        for (int axis = 0; axis < ABS_CNT; ++axis) {
            if (const auto& info = device_.Can().axes[static_cast<std::size_t>(axis)]) {
                function(axis, *info);
            }
        }
    }

    void Send(int type, int code, int value) {
        device_.Send(type, code, value);
        sdl_.ReadEvents();
        ours_.Feed(type, code, value);
    }

    void Move(int axis, const std::vector<int>& values) {
        for (const int value : values) {
            Send(EV_ABS, axis, value);
        }
    }

    void MoveAndCompare(int type, int code, const std::vector<int>& values) {
        for (const int value : values) {
            Send(type, code, value);
            if (difference_.empty()) {
                Compare("after event " + std::to_string(type) + '/' + std::to_string(code) + " = " +
                        std::to_string(value));
            }
        }
    }

    void Compare(const std::string& when) {
        CompareButtons(when);
        CompareDpad(when, "x", ABS_HAT0X, SDL_CONTROLLER_BUTTON_DPAD_LEFT, SDL_CONTROLLER_BUTTON_DPAD_RIGHT);
        CompareDpad(when, "y", ABS_HAT0Y, SDL_CONTROLLER_BUTTON_DPAD_UP, SDL_CONTROLLER_BUTTON_DPAD_DOWN);
        CompareAxes(when);
    }

    void CompareButtons(const std::string& when) {
        static constexpr std::array<std::pair<SDL_GameControllerButton, int>, 11> kButtons{
            {{SDL_CONTROLLER_BUTTON_A, 0},
             {SDL_CONTROLLER_BUTTON_B, 1},
             {SDL_CONTROLLER_BUTTON_X, 2},
             {SDL_CONTROLLER_BUTTON_Y, 3},
             {SDL_CONTROLLER_BUTTON_LEFTSHOULDER, 4},
             {SDL_CONTROLLER_BUTTON_RIGHTSHOULDER, 5},
             {SDL_CONTROLLER_BUTTON_BACK, 10},
             {SDL_CONTROLLER_BUTTON_START, 11},
             {SDL_CONTROLLER_BUTTON_LEFTSTICK, 12},
             {SDL_CONTROLLER_BUTTON_RIGHTSTICK, 13},
             {SDL_CONTROLLER_BUTTON_GUIDE, 14}}};
        for (const auto& [theirs, ours] : kButtons) {
            Note(when, SDL_GameControllerGetStringForButton(theirs), sdl_.Pressed(theirs), ours_.Pressed(ours), 0);
        }
    }

    void CompareDpad(const std::string& when, const char* name, int axis, SDL_GameControllerButton less,
                     SDL_GameControllerButton more) {
        Note(when, std::string("dpad ") + name, sdl_.Pressed(more) - sdl_.Pressed(less), ours_.Position(axis), 0);
    }

    // A trigger that is no axis on the pad is a button with us and a released or fully pressed axis with SDL.
    void CompareAxes(const std::string& when) {
        static constexpr std::array<std::pair<SDL_GameControllerAxis, int>, 4> kSticks{
            {{SDL_CONTROLLER_AXIS_LEFTX, ABS_X},
             {SDL_CONTROLLER_AXIS_LEFTY, ABS_Y},
             {SDL_CONTROLLER_AXIS_RIGHTX, ABS_RX},
             {SDL_CONTROLLER_AXIS_RIGHTY, ABS_RY}}};
        for (const auto& [theirs, ours] : kSticks) {
            Note(when, SDL_GameControllerGetStringForAxis(theirs), sdl_.Position(theirs), ours_.Position(ours), kSteps);
        }
        Note(when, "lefttrigger", sdl_.Position(SDL_CONTROLLER_AXIS_TRIGGERLEFT), Trigger(6, ABS_Z), kSteps);
        Note(when, "righttrigger", sdl_.Position(SDL_CONTROLLER_AXIS_TRIGGERRIGHT), Trigger(7, ABS_RZ), kSteps);
    }

    int Trigger(int button, int axis) { return ours_.Pressed(button) ? 32767 : ours_.Position(axis); }

    // SDL computes positions with single precision, and half an axis that moves a whole one doubles what is lost.
    static constexpr int kSteps = 2;

    void Note(const std::string& when, const std::string& what, int theirs, int ours, int tolerance) {
        ++comparisons_;
        if (difference_.empty() && std::abs(theirs - ours) > tolerance) {
            difference_ = when + ": " + what + " is " + std::to_string(theirs) + " with SDL, " + std::to_string(ours) +
                          " with us";
        }
    }

    FakeEvdev device_;
    SdlPad sdl_;
    OurPad ours_;
    std::string difference_;
    int comparisons_ = 0;
};

// Where two buttons lead to one output, SDL asks the first of them only.
Mapping WithoutSecondSources(const Mapping& mapping) {
    Mapping result = mapping;
    result.bindings.clear();
    for (const Binding& binding : mapping.bindings) {
        const bool isNew = std::none_of(result.bindings.begin(), result.bindings.end(), [&](const Binding& earlier) {
            return earlier.target == binding.target && earlier.range == binding.range;
        });
        if (isNew) {
            result.bindings.push_back(binding);
        }
    }
    return result;
}

// A name that begins with this and has this checksum.
std::string NameWith(const std::string& beginning, std::uint16_t checksum) {
    for (int i = 0;; ++i) {
        std::string name = beginning + std::to_string(i);
        if (NameChecksum(name) == checksum) {
            return name;
        }
    }
}

std::uint16_t Word(const Guid& guid, std::size_t at) {
    return static_cast<std::uint16_t>(guid.bytes[at] | (guid.bytes[at + 1] << 8));
}

// A device that gets this mapping.
DeviceId DeviceFor(const Mapping& mapping) {
    const Guid& guid = mapping.guid;
    const bool isNamed = guid.WithoutVersion() == guid && Word(guid, 12) != 0;
    std::string name = "Pad ";
    if (isNamed) {
        name.assign(guid.bytes.begin() + 4, std::find(guid.bytes.begin() + 4, guid.bytes.end(), 0));
    }
    name = mapping.checksum ? NameWith(name, *mapping.checksum) : name;
    if (isNamed) {
        return {Word(guid, 0), 0, 0, 0, name};
    }
    return {Word(guid, 0), Word(guid, 4), Word(guid, 8), Word(guid, 12), name};
}

// Mappings of pads that SDL drives itself, past the kernel, carry the driver's letter or stand for all of its pads.
bool IsForAnotherDriver(const Mapping& mapping) {
    const bool hasVersion = !(mapping.guid.WithoutVersion() == mapping.guid);
    return mapping.name == "*" || (hasVersion && mapping.guid.bytes[14] != 0);
}

bool SameBindings(const Mapping& a, const Mapping& b) {
    const auto same = [](const Binding& x, const Binding& y) {
        return x.target == y.target && x.range == y.range && x.source.kind == y.source.kind &&
               x.source.index == y.source.index && x.source.hatMask == y.source.hatMask &&
               x.source.range == y.source.range;
    };
    return a.name == b.name &&
           std::equal(a.bindings.begin(), a.bindings.end(), b.bindings.begin(), b.bindings.end(), same);
}

class SdlsMappings : public testing::Test {
protected:
    SdlsMappings() {
        for (const std::string& text : MappingsOfSdl()) {
            const Line line = ParseLine(text);
            EXPECT_TRUE(line.mapping && line.problem.empty()) << text << ": " << line.problem;
            if (line.mapping) {
                mappings_.emplace_back(text, *line.mapping);
            }
        }
    }

    std::vector<std::pair<std::string, Mapping>> mappings_;
};

TEST_F(SdlsMappings, AreManyAndAllUnderstood) {
    EXPECT_GT(mappings_.size(), 250U);
    EXPECT_THAT(TakeLog(), testing::IsEmpty());
    RecordProperty("mappings", static_cast<int>(mappings_.size()));
}

TEST_F(SdlsMappings, AreAllBuiltInAndFoundByTheirDevice) {
    Database database(Sources{});
    for (const auto& [text, mapping] : mappings_) {
        if (IsForAnotherDriver(mapping)) {
            continue;
        }
        const auto found = database.Find(DeviceFor(mapping));
        ASSERT_TRUE(found) << text;
        EXPECT_TRUE(SameBindings(*found, mapping)) << text << "\nfound: " << found->name;
    }
}

TEST_F(SdlsMappings, MoveTheSameOutputsAsWithSdl) {
    int compared = 0;
    for (const auto& [text, mapping] : mappings_) {
        const bool reachable = !IsForAnotherDriver(mapping);
        BothPads pads(reachable ? DeviceFor(mapping) : kMadeUp, RichPad(), WithoutSecondSources(mapping),
                      reachable ? "" : kMadeUpGuid + text.substr(kGuidDigits));
        ASSERT_TRUE(pads.Sdl().IsController()) << text;
        const Line theirs = ParseLine(pads.Sdl().Mapping());
        ASSERT_TRUE(theirs.mapping) << pads.Sdl().Mapping();
        ASSERT_TRUE(SameBindings(*theirs.mapping, mapping)) << text << "\nSDL took: " << pads.Sdl().Mapping();
        EXPECT_EQ(pads.FirstDifference(), "") << text;
        compared += pads.Comparisons();
    }
    EXPECT_GT(compared, 1'000'000);
    RecordProperty("comparisons", compared);
}

// SDL looks a GUID up without any device.
class SdlsLookUp : public SdlsMappings {
protected:
    SdlsLookUp() : device_(kMadeUp, RichPad()), sdl_(device_) {}

    void ExpectSameChoice(const DeviceId& id, const std::string& text) {
        Guid guid = Guid::Of(id);
        const std::uint16_t checksum = NameChecksum(id.name);
        guid.bytes[2] = static_cast<std::uint8_t>(checksum & 0xff);
        guid.bytes[3] = static_cast<std::uint8_t>(checksum >> 8);
        SDL_JoystickGUID key;
        std::copy(guid.bytes.begin(), guid.bytes.end(), key.data);
        const std::unique_ptr<char, decltype(&SDL_free)> theirs(SDL_GameControllerMappingForGUID(key), SDL_free);
        const auto ours = database_.Find(id);
        ASSERT_EQ(ours.has_value(), theirs != nullptr) << text << "\nSDL: " << theirs.get();
        if (ours) {
            EXPECT_TRUE(SameBindings(*ours, *ParseLine(theirs.get()).mapping))
                << text << "\nSDL: " << theirs.get() << "\nours: " << ours->name;
        }
    }

    Database database_{Sources{}};
    FakeEvdev device_;
    SdlPad sdl_;
};

TEST_F(SdlsLookUp, AgreesForEveryPadAndForItsUnlistedVersions) {
    for (const auto& [text, mapping] : mappings_) {
        if (IsForAnotherDriver(mapping)) {
            continue;
        }
        DeviceId id = DeviceFor(mapping);
        ExpectSameChoice(id, text);
        id.version = static_cast<std::uint16_t>(id.version ^ 0x4321U);
        ExpectSameChoice(id, text + " (other version)");
        id.name = "Another name";
        ExpectSameChoice(id, text + " (other name)");
    }
}

void ExpectSameGuid(const DeviceId& id, const Capabilities& can) {
    const FakeEvdev device(id, can);
    const SdlPad sdl(device);
    libevdev* opened = nullptr;
    ASSERT_EQ(libevdev_new_from_fd(device.Descriptor(), &opened), 0);
    const std::unique_ptr<libevdev, decltype(&libevdev_free)> owner(opened, libevdev_free);
    EXPECT_EQ(Guid::Of(IdOf(opened)), *Guid::Parse(WithoutChecksum(sdl.Guid()))) << id.name;
    if (sdl.Name().find("Xbox") != std::string::npos) {
        return;  // SDL has a name of its own for it
    }
    EXPECT_EQ(NameChecksum(id.name), Guid::Parse(sdl.Guid())->Checksum()) << id.name;
}

TEST(DeviceGuids, AreThoseOfSdl) {
    const std::vector<DeviceId> devices{{3, 0x1234, 0x5678, 0x0111, "Pad"},
                                        {5, 0, 0, 0x0111, "A pad without numbers"},
                                        {5, 0x1234, 0, 1, "  Badly   spaced  name "},
                                        {5, 0x1234, 0x1, 1, "Maker maker Maker-pad"},
                                        {5, 0x1234, 0x1, 1, "Sony Sony Pad Sony"},
                                        {5, 0x1234, 0x1, 1, "a-a"},
                                        {5, 0x1234, 0x1, 1, "aa aa"},
                                        {3, 0, 0x5678, 1, "Short"},
                                        {0x19, 0xffff, 0xffff, 0xffff, "\xc3\xbc \xff"}};
    for (const DeviceId& id : devices) {
        ExpectSameGuid(id, RichPad());
    }
}

TEST(DeviceGuids, OfTheFirstXboxEliteFirmwareAreThoseOfSdl) {
    const DeviceId elite{5, 0x045e, 0x0b05, 0x0903, "Xbox Wireless Controller"};
    ExpectSameGuid(elite, NumberedPad());
    Capabilities everythingTwice = NumberedPad();
    everythingTwice.keys.set(BTN_TRIGGER_HAPPY1);
    ExpectSameGuid(elite, everythingTwice);
}

TEST(TheCountOfSources, IsThatOfSdl) {
    const input_absinfo digital = kHat;
    const input_absinfo plain{0, -100, 100, 0, 0, 0};
    const input_absinfo pressure{0, -100, 100, 2, 3, 0};
    const input_absinfo resolved{0, 0, 255, 0, 0, 4};
    const std::vector<std::vector<std::pair<unsigned, input_absinfo>>> devices{
        {},
        {{ABS_HAT0X, digital}, {ABS_HAT0Y, digital}},
        {{ABS_HAT0X, plain}, {ABS_HAT0Y, plain}},
        {{ABS_HAT0X, pressure}, {ABS_HAT0Y, pressure}},
        {{ABS_HAT2X, pressure}, {ABS_HAT2Y, pressure}},
        {{ABS_HAT1X, resolved}, {ABS_HAT1Y, resolved}},
        {{ABS_HAT0X, pressure}, {ABS_HAT0Y, pressure}, {ABS_HAT2X, digital}, {ABS_HAT2Y, digital}},
        {{ABS_HAT0X, digital}, {ABS_HAT0Y, digital}, {ABS_HAT2X, pressure}, {ABS_HAT2Y, pressure}},
        {{ABS_HAT0X, digital}, {ABS_HAT1X, digital}, {ABS_HAT3Y, digital}},
        {{ABS_HAT2X, pressure}},
        {{ABS_HAT2Y, resolved}},
        {{ABS_Z, {0, 0, 0, 0, 0, 0}}, {ABS_MISC, pressure}},
        {{ABS_HAT0X, digital}, {ABS_HAT0Y, digital}, {ABS_MISC, pressure}}};
    for (std::size_t i = 0; i < devices.size(); ++i) {
        Capabilities can = Pad({BTN_TRIGGER, BTN_SOUTH, KEY_HOMEPAGE}, {{ABS_X, kStick}, {ABS_Y, kByte}});
        for (const auto& [axis, info] : devices[i]) {
            can.axes[axis] = info;
        }
        const FakeEvdev device(kMadeUp, can);
        const SdlPad sdl(device);
        const Numbering numbering(can);
        EXPECT_EQ(static_cast<int>(numbering.buttons.size()), sdl.Buttons()) << "device " << i;
        EXPECT_EQ(static_cast<int>(numbering.axes.size()), sdl.Axes()) << "device " << i;
        EXPECT_EQ(static_cast<int>(numbering.hats.size()), sdl.Hats()) << "device " << i;
    }
}

class Randomly {
public:
    explicit Randomly(unsigned seed) : engine_(seed) {}

    int Below(int end) { return static_cast<int>(engine_() % static_cast<unsigned>(end)); }
    bool Often() { return Below(4) != 0; }

    Capabilities Device() {
        Capabilities pad = Pad({BTN_TRIGGER, BTN_SOUTH}, {{ABS_X, kStick}, {ABS_Y, kByte}});
        for (int i = 0; i < 60; ++i) {
            pad.keys.set(1U + static_cast<std::size_t>(Below(KEY_MAX - 1)));
        }
        for (unsigned axis = ABS_Z; axis < ABS_GAS; ++axis) {
            if (Often()) {
                const int minimum = Below(2) == 0 ? 0 : -1 - Below(2000);
                pad.axes[axis] = {0, minimum, 100 + Below(100'000), Below(3), Below(3), 0};
            }
        }
        for (unsigned hat = ABS_HAT0X; hat < ABS_HAT3Y; hat += 2) {
            if (Below(2) == 0) {
                pad.axes[hat] = pad.axes[hat + 1] = kHat;
            }
        }
        return pad;
    }

    // Buttons and hats may be missing, but axes may not: SDL takes a missing one for one that stands still in the
    // middle.
    std::string Source(int axes) {
        const std::string number = std::to_string(Below(axes));
        switch (Below(4)) {
            case 0:
                return 'b' + std::to_string(Below(64));
            case 1:
                return 'h' + std::to_string(Below(4)) + '.' + std::to_string(1 + Below(15));
            default: {
                const std::string half = std::array{"", "+", "-"}[static_cast<std::size_t>(Below(3))];
                return half + 'a' + number + (Below(2) == 0 ? "~" : "");
            }
        }
    }

    // Each target once: where several sources pull at one axis, SDL takes one of them and we combine them.
    std::string Mapping(int axes) {
        std::string fields = kMadeUpGuid + ",Random";
        for (const char* target : {"a",
                                   "b",
                                   "x",
                                   "y",
                                   "back",
                                   "guide",
                                   "start",
                                   "leftstick",
                                   "rightstick",
                                   "leftshoulder",
                                   "rightshoulder",
                                   "dpup",
                                   "dpdown",
                                   "dpleft",
                                   "dpright",
                                   "misc1",
                                   "paddle1",
                                   "touchpad",
                                   "leftx",
                                   "lefty",
                                   "lefttrigger",
                                   "righttrigger",
                                   Below(2) == 0 ? "rightx" : "+rightx",
                                   Below(2) == 0 ? "righty" : "-righty"}) {
            fields += Often() ? std::string(",") + target + ':' + Source(axes) : "";
        }
        return fields + ",platform:Linux,";
    }

private:
    std::mt19937 engine_;
};

TEST(RandomMappingsOfRandomDevices, MoveTheSameOutputsAsWithSdl) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Randomly randomly(seed);
        const Capabilities can = randomly.Device();
        const Numbering numbering(can);
        const std::string text = randomly.Mapping(static_cast<int>(numbering.axes.size()));
        const Line line = ParseLine(text);
        ASSERT_TRUE(line.mapping) << text;
        ASSERT_EQ(line.problem, "") << text;
        BothPads pads(kMadeUp, can, *line.mapping, text);
        ASSERT_TRUE(pads.Sdl().IsController()) << text;
        EXPECT_EQ(static_cast<int>(numbering.buttons.size()), pads.Sdl().Buttons()) << "seed " << seed;
        EXPECT_EQ(static_cast<int>(numbering.axes.size()), pads.Sdl().Axes()) << "seed " << seed;
        EXPECT_EQ(static_cast<int>(numbering.hats.size()), pads.Sdl().Hats()) << "seed " << seed;
        EXPECT_EQ(pads.FirstDifference(), "") << "seed " << seed << ": " << text;
    }
}

}  // namespace
