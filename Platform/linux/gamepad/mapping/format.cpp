#include "gamepad/mapping/format.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <utility>

namespace mapping {
namespace {

constexpr std::array<std::string_view, 27> kTargetNames{"a",
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
                                                        "paddle2",
                                                        "paddle3",
                                                        "paddle4",
                                                        "touchpad",
                                                        "leftx",
                                                        "lefty",
                                                        "rightx",
                                                        "righty",
                                                        "lefttrigger",
                                                        "righttrigger"};

// What else a line may hold: it says nothing about the buttons that are delivered.
constexpr std::array<std::string_view, 11> kOtherFields{
    "platform", "crc", "hint", "type", "face", "sdk>=", "sdk<=", "misc2", "misc3", "misc4", "misc5"};

// Buttons are wanted by their place and not by what is printed on them, so mappings by label never apply.
constexpr std::string_view kByLabelHint = "SDL_GAMECONTROLLER_USE_BUTTON_LABELS";

constexpr int kMostNumber = 1023;  // the kernel knows fewer keys and axes

bool SameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(kSpace);
    return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

// Takes the text up to the next separator off the front.
std::string_view TakeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

// For messages: short, and free of bytes that would upset a terminal.
std::string Quoted(std::string_view text) {
    constexpr std::size_t kMostShown = 40;
    std::string shown(text.substr(0, kMostShown));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return '"' + shown + (text.size() > kMostShown ? "...\"" : "\"");
}

struct Field {
    std::string_view name;
    std::string_view value;
};

Field FieldOf(std::string_view text) {
    const std::string_view name = TakeUntil(text, ':');
    return {Trimmed(name), Trimmed(text)};
}

std::optional<std::string_view> ValueOf(std::string_view fields, std::string_view name) {
    while (!fields.empty()) {
        const Field field = FieldOf(TakeUntil(fields, ','));
        if (SameWord(field.name, name)) {
            return field.value;
        }
    }
    return std::nullopt;
}

std::optional<int> Number(std::string_view text, int base = 10) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && number >= 0 ? std::optional(number) : std::nullopt;
}

std::optional<int> Index(std::string_view text) {
    const auto number = Number(text);
    return number && *number <= kMostNumber ? number : std::nullopt;
}

char TakeSign(std::string_view& text) {
    const char sign = !text.empty() && (text[0] == '+' || text[0] == '-') ? text[0] : '\0';
    text.remove_prefix(sign == '\0' ? 0 : 1);
    return sign;
}

Range HalfOf(char sign) {
    return sign == '\0' ? kWhole : sign == '+' ? kUpper : kLower;
}

bool IsAxis(Target target) {
    return target >= Target::leftx;
}
bool IsTrigger(Target target) {
    return target >= Target::lefttrigger;
}

std::optional<std::pair<Target, Range>> ParseTarget(std::string_view text) {
    const char sign = TakeSign(text);
    const auto* const found = std::find_if(kTargetNames.begin(), kTargetNames.end(),
                                           [&](std::string_view name) { return SameWord(name, text); });
    if (found == kTargetNames.end()) {
        return std::nullopt;
    }
    const auto target = static_cast<Target>(found - kTargetNames.begin());
    if (!IsAxis(target)) {
        return sign == '\0' ? std::optional(std::pair(target, kSwitch)) : std::nullopt;
    }
    return std::pair(target, IsTrigger(target) ? kUpper : HalfOf(sign));
}

std::optional<Source> ParseAxis(std::string_view text) {
    Range range = HalfOf(TakeSign(text));
    text.remove_prefix(1);
    if (!text.empty() && text.back() == '~') {
        text.remove_suffix(1);
        std::swap(range.first, range.last);
    }
    const auto index = Index(text);
    return index ? std::optional(Source{SourceKind::axis, *index, 0, range}) : std::nullopt;
}

std::optional<Source> ParseHat(std::string_view text) {
    const auto index = Index(TakeUntil(text, '.'));
    const auto mask = Index(text);
    const bool valid = index && mask && *mask >= 1 && *mask <= 15;
    return valid ? std::optional(Source{SourceKind::hat, *index, *mask, kSwitch}) : std::nullopt;
}

std::optional<Source> ParseSource(std::string_view text) {
    std::string_view unsignedText = text;
    TakeSign(unsignedText);
    if (!unsignedText.empty() && unsignedText[0] == 'a') {
        return ParseAxis(text);
    }
    if (!text.empty() && text[0] == 'h') {
        return ParseHat(text.substr(1));
    }
    const auto index = !text.empty() && text[0] == 'b' ? Index(text.substr(1)) : std::nullopt;
    return index ? std::optional(Source{SourceKind::button, *index, 0, kSwitch}) : std::nullopt;
}

bool IsOtherField(std::string_view name) {
    return std::any_of(kOtherFields.begin(), kOtherFields.end(),
                       [&](std::string_view other) { return SameWord(other, name); });
}

bool IsTrue(std::string_view value) {
    return !value.empty() && value != "0" && !SameWord(value, "false");
}

// "NAME:=1" asks for a switch and says how it stands unless the environment says otherwise; "!NAME" for its opposite.
bool HintHolds(std::string_view hint) {
    const bool negated = !hint.empty() && hint[0] == '!';
    hint.remove_prefix(negated ? 1 : 0);
    const std::string name(TakeUntil(hint, ':'));
    bool value = !hint.empty() && hint[0] == '=' && IsTrue(hint.substr(1));
    if (name == kByLabelHint) {
        value = false;
    } else if (const char* set = std::getenv(name.c_str())) {
        value = IsTrue(set);
    }
    return value != negated;
}

bool IsForUs(std::string_view fields) {
    const auto platform = ValueOf(fields, "platform");
    const auto hint = ValueOf(fields, "hint");
    return (!platform || SameWord(*platform, "Linux")) && (!hint || HintHolds(*hint));
}

void AddBinding(std::string_view text, Line& line) {
    const Field field = FieldOf(text);
    if (Trimmed(text).empty() || IsOtherField(field.name)) {
        return;
    }
    const auto target = ParseTarget(field.name);
    const auto source = ParseSource(field.value);
    const bool isNotOnThePad = target && text.find(':') != std::string_view::npos && field.value.empty();
    if (target && source) {
        line.mapping->bindings.push_back({target->first, target->second, *source});
    } else if (!isNotOnThePad && line.problem.empty()) {
        line.problem = Quoted(text) + " is not understood; this field is ignored";
    }
}

void SetChecksum(std::string_view fields, Mapping& mapping) {
    const auto field = ValueOf(fields, "crc");
    const auto stated = field ? Number(*field, 16) : std::nullopt;
    const int checksum = stated ? *stated : mapping.guid.Checksum();
    if (checksum != 0) {
        mapping.checksum = static_cast<std::uint16_t>(checksum);
    }
    mapping.guid = mapping.guid.WithoutChecksum();
}

Line Malformed(std::string problem) {
    return {std::nullopt, std::move(problem) + "; the line is ignored"};
}

Line ParseController(std::string_view guidText, std::string_view rest) {
    const auto guid = Guid::Parse(guidText);
    if (!guid) {
        return Malformed(Quoted(guidText) + " is not a GUID of 32 hexadecimal digits");
    }
    Line line;
    line.mapping = Mapping{*guid, std::nullopt, std::string(TakeUntil(rest, ',')), {}};
    SetChecksum(rest, *line.mapping);
    while (!rest.empty()) {
        AddBinding(TakeUntil(rest, ','), line);
    }
    return line.mapping->bindings.empty() ? Malformed("no button or axis is assigned") : line;
}

}  // namespace

Line ParseLine(std::string_view line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (line.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        line.remove_prefix(kByteOrderMark.size());
    }
    line = Trimmed(line);
    if (line.empty() || line[0] == '#' || !IsForUs(line)) {
        return {};
    }
    const std::string_view guid = Trimmed(TakeUntil(line, ','));
    return ParseController(guid, line);
}

}  // namespace mapping
