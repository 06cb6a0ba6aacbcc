// The user's controller mappings, for a pad of any kind, and what the pad then sends.

#include <algorithm>

#include "fuzz.h"
#include "gamepad/mapping/mapping.h"

namespace {

using mapping::Capabilities;
using mapping::DeviceId;
using mapping::Output;
using mapping::Translator;

constexpr int kMostEvents = 64;

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    return folder;
}

DeviceId IdFrom(fuzz::Input& input) {
    DeviceId id;
    id.bus = input.Take<std::uint16_t>();
    id.vendor = input.Take<std::uint16_t>();
    id.product = input.Take<std::uint16_t>();
    id.version = input.Take<std::uint16_t>();
    id.name = input.Text();
    return id;
}

Capabilities CapabilitiesFrom(fuzz::Input& input) {
    Capabilities can;
    for (int left = input.Byte() % 32; left > 0; --left) {
        can.keys[input.Take<std::uint16_t>() % KEY_CNT] = true;
    }
    for (int left = input.Byte() % 32; left > 0; --left) {
        const auto axis = static_cast<std::size_t>(input.Byte() % ABS_CNT);
        can.axes[axis] = input.Take<input_absinfo>();
    }
    return can;
}

// Buttons are down or up, axes within what the translator says of them.
void Check(const Translator& translator, const Output& output) {
    fuzz::Require(translator.Delivers(output.type, output.code), "only what is announced is delivered");
    if (output.type == EV_KEY) {
        fuzz::Require(output.value == 0 || output.value == 1, "a button is up or down");
        return;
    }
    const auto range = translator.RangeOf(output.code);
    fuzz::Require(range && range->minimum < range->maximum, "a delivered axis has a range");
    const bool isTrigger = output.code == ABS_Z || output.code == ABS_RZ;
    const int least = isTrigger ? mapping::kWhole.first : range->minimum;
    fuzz::Require(output.value >= least && output.value <= range->maximum, "a position lies within the range");
}

void Play(Translator& translator, fuzz::Input& input) {
    for (int left = kMostEvents; left > 0 && !input.IsEmpty(); --left) {
        const auto type = input.Byte();
        const auto code = input.Take<std::uint16_t>();
        const auto outputs = translator.Translate(type, code, input.Int());
        fuzz::Require(outputs.size() <= mapping::Outputs::kMost, "one event has a limited number of outputs");
        std::for_each(outputs.begin(), outputs.end(), [&](const Output& output) { Check(translator, output); });
    }
}

// A user's line for this very pad is found, unless another one fits better.
void LookUp(const DeviceId& id, const std::string& lines) {
    mapping::Database database({"", "", Home().Write("gamecontrollerdb.txt", lines)});
    const auto found = database.Find(id);
    fuzz::Require(!found || !found->bindings.empty(), "a mapping that is found assigns something");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string lines = input.LongText();
    const DeviceId id = IdFrom(input);
    const Capabilities can = CapabilitiesFrom(input);
    const mapping::Line line = mapping::ParseLine(lines.substr(0, lines.find('\n')));
    fuzz::Require(!line.mapping || !line.mapping->bindings.empty(), "a mapping that is read assigns something");
    if (line.mapping) {
        Translator translator(*line.mapping, can);
        Play(translator, input);
    }
    LookUp(id, lines);
    return 0;
}
