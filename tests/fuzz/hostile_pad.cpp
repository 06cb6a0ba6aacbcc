// A pad that announces and sends what no pad does: thousands of buttons, empty and inverted axes, names that are no
// text, codes that it never announced, storms, and overruns in any place.

#include <algorithm>
#include <map>
#include <vector>

#include "fuzz.h"
#include "gamepad/device.h"
#include "gamepad/pad_classifier.h"
#include "gamepad/pad_identity.h"
#include "hostile_evdev.h"

namespace {

constexpr int kMostRounds = 16;

// The kernel allows so many touches of a device, and their number is all that anybody may count on.
constexpr int kMostSlots = 1024;

template <std::size_t kCount>
void SetRange(std::bitset<kCount>& bits, unsigned first, unsigned last) {
    for (unsigned bit = first; bit <= last && bit < kCount; ++bit) {
        bits.set(bit);
    }
}

/// What a usual pad of each kind has.
void Announce(unsigned kind, HostileDevice& device) {
    const input_absinfo stick{0, -32768, 32767, 16, 128, 0};
    const unsigned first = kind == 1 ? BTN_TRIGGER : BTN_SOUTH;
    SetRange(device.keys, first, kind == 3 ? KEY_MAX : first + 14);
    if (kind == 0) {
        device.keys.reset(BTN_C).reset(BTN_Z);
    } else if (kind == 1) {
        device.id = {BUS_USB, 0x046d, 0xc216, 0x110};  // known to the controller mappings
    }
    for (const int axis : {ABS_X, ABS_Y, ABS_RX, ABS_RY}) {
        device.axes[static_cast<std::size_t>(axis)] = stick;
    }
    device.axes[ABS_HAT0X] = device.axes[ABS_HAT0Y] = input_absinfo{0, -1, 1, 0, 0, 0};
}

HostileDevice DeviceFrom(fuzz::Input& input) {
    HostileDevice device;
    const std::uint8_t kind = input.Byte();
    device.id = input.Take<input_id>();
    Announce(kind % 4, device);
    device.name = input.Text();
    device.phys = input.Text();
    device.uniq = input.Text();
    for (int left = input.Byte() % 16; left > 0; --left) {
        const auto key = static_cast<std::size_t>(input.Take<std::uint16_t>() % KEY_CNT);
        device.keys.flip(key);
        device.held.set(key, input.Flag());
    }
    for (int left = input.Byte() % 16; left > 0; --left) {
        const auto axis = static_cast<std::size_t>(input.Byte() % ABS_CNT);
        device.axes[axis] = input.Take<input_absinfo>();
    }
    if (auto& slots = device.axes[ABS_MT_SLOT]) {
        slots->minimum = 0;
        slots->maximum = std::clamp(slots->maximum, 0, kMostSlots - 1);
    }
    device.relative.set(input.Byte() % REL_CNT, input.Flag());
    device.properties.set(input.Byte() % INPUT_PROP_CNT, input.Flag());
    return device;
}

/// So many events alike, or bytes that are no events.
std::string EventsFrom(fuzz::Input& input) {
    constexpr std::uint16_t kTypes[] = {EV_KEY, EV_ABS, EV_SYN, EV_KEY, EV_ABS, EV_REL, EV_MSC, EV_MAX};
    const std::uint8_t kind = input.Byte();
    if (kind == 255) {
        return input.Text();
    }
    input_event event{};
    event.type = kTypes[kind % 8];
    event.code = input.Take<std::uint16_t>();
    event.value = kind < 128 ? static_cast<std::int8_t>(input.Byte()) : input.Int();
    const input_event frame[] = {event, {}};
    std::string bytes;
    for (int left = kind % 16 == 15 ? 400 : 1; left > 0; --left) {
        bytes.append(reinterpret_cast<const char*>(frame), sizeof frame);
    }
    return bytes;
}

/// Whoever reads the pad sees buttons go down and up by turns, and axes inside their limits.
class Reader {
public:
    explicit Reader(gamepad::Device& device) : device_(device) {}

    void Take(int capacity) {
        std::vector<_gamepad_event_s> events(static_cast<std::size_t>(std::max(capacity, 0)));
        const int count = device_.TakeEvents(events.data(), capacity);
        fuzz::Require(count >= 0 && count <= capacity, "no more is delivered than was asked for");
        std::for_each_n(events.begin(), count, [this](const _gamepad_event_s& event) { Check(event); });
    }

private:
    void Check(const _gamepad_event_s& event) {
        if (event.type == EV_KEY) {
            int& state = buttons_[event.code];
            fuzz::Require(event.value == 1 - state, "a button goes down and up by turns");
            state = event.value;
            return;
        }
        const auto limits = device_.LimitsOf(event.code);
        fuzz::Require(event.type == EV_ABS && limits && limits->minimum < limits->maximum, "an axis has its limits");
        fuzz::Require(limits->minimum <= event.value && event.value <= limits->maximum, "a position is within them");
    }

    gamepad::Device& device_;
    std::map<int, int> buttons_;
};

void ExpectToBeText(const std::string& text) {
    fuzz::Require(gamepad::Printable(text) == text, "a uid is printable text");
    fuzz::Require(text.size() <= gamepad::kLongestUid, "a uid is not too long");
}

void Play(gamepad::Evdev evdev, const HostileEvdev& kernel, const std::string& mappings, fuzz::Input& input) {
    ExpectToBeText(gamepad::BaseUid(evdev.device.get(), "", "/sys/input1/event1"));
    gamepad::IsPad(evdev.device.get());
    mapping::Database database({"", mappings, ""});
    gamepad::ChosenLayout layout = gamepad::ChooseLayout(evdev.device.get(), database);
    gamepad::Device device(std::move(evdev), std::make_shared<gamepad::Pad>(), std::move(layout));
    Reader reader(device);
    for (int round = 0; round < kMostRounds && !input.IsEmpty(); ++round) {
        for (int left = input.Byte() % 64; left > 0 && !input.IsEmpty(); --left) {
            kernel.Send(EventsFrom(input));
        }
        reader.Take(input.Byte() % 20);
    }
    reader.Take(gamepad::EventQueue::kCapacity);
}

/// A line of the controller mappings for this very pad.
std::string MappingFor(const libevdev* device, const std::string& fields) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string line;
    for (const std::uint8_t byte : mapping::Guid::Of(mapping::IdOf(device)).bytes) {
        line += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return fields.empty() ? "" : line + ",Pad," + fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const HostileDevice device = DeviceFrom(input);
    const std::string fields = input.Text();
    const HostileEvdev kernel(device);
    gamepad::Evdev evdev = gamepad::OpenEvdev(kernel.Path());
    if (evdev.device != nullptr) {
        const std::string mappings = MappingFor(evdev.device.get(), fields);
        Play(std::move(evdev), kernel, mappings, input);
    }
    return 0;
}
