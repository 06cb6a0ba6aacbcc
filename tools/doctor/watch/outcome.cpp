#include "watch/outcome.h"

#include <linux/input.h>

#include <algorithm>

#include "platform/virtual_key.h"

namespace doctor {
namespace {

std::string KeyActionText(const SentKey& key) {
    const char* action = key.action == KEY_ACTION_PRESS     ? " goes down"
                         : key.action == KEY_ACTION_RELEASE ? " goes up"
                                                            : "";
    return KeyText(key.code) + action;
}

bool WasSaid(const Handled& handled, const std::string& words) {
    return std::any_of(handled.words.begin(), handled.words.end(),
                       [&words](const std::string& said) { return said.find(words) != std::string::npos; });
}

/// The words in the brackets behind this beginning.
std::string Bracketed(const Handled& handled, const std::string& beginning) {
    for (const std::string& said : handled.words) {
        if (said.find(beginning) == 0) {
            return said.substr(beginning.size(), said.rfind(']') - beginning.size());
        }
    }
    return "";
}

std::string WhyTheseKeys(const Handled& handled) {
    if (WasSaid(handled, "to popup notify message!")) {
        return ", for the terms are not accepted";
    }
    return WasSaid(handled, "to[Context-Manager]") ? ", opens \"" + Bracketed(handled, "Call[m_RunApp]with[") + "\""
                                                   : "";
}

bool IsReleased(const Input& input) {
    return input.value == 0;
}

/// Whether the service has a key for any position of this input.
bool HasKey(const ServiceKeys& keys, const Input& input) {
    const auto is_same = [&input](const auto& entry) {
        return entry.first.type == input.type && entry.first.code == input.code;
    };
    return std::any_of(keys.at_once.begin(), keys.at_once.end(), is_same);
}

/// The key that this input sends when it is held, with others or alone; empty: none.
std::string HeldKeyText(const ServiceKeys& keys, const Input& input) {
    for (const HeldKey& held : keys.held) {
        for (const Input& one : held.inputs) {
            if (one.type == input.type && one.code == input.code) {
                return KeyText(held.code);
            }
        }
    }
    return "another key";
}

struct Reason {
    const char* words;  // of the service
    const char* text;
};
constexpr Reason kReasons[] = {
    {"NOT Menu Mode", "nothing: outside menu mode, a game has the focus"},
    {"[HomeKey]invalid device id", "nothing: only the first four pads may hold Home"},
    {"[HomeKey Release]", "nothing: let go"},
};

std::string LetGo(const Input& input) {
    return input.type == EV_ABS ? "nothing: back in the middle" : "nothing: let go";
}

std::string WhyNoKey(const Handled& handled, const ServiceKeys& keys) {
    const Input& input = handled.input;
    if (IsReleased(input)) {
        return LetGo(input);
    }
    const bool is_too_little = input.type == EV_ABS && HasKey(keys, input);
    return is_too_little ? "nothing: below the threshold" : "nothing: the service has no key for it";
}

/// The service's own words tell why.
std::string WhyNothing(const Handled& handled, const ServiceKeys& keys) {
    for (const Reason& reason : kReasons) {
        if (WasSaid(handled, reason.words)) {
            return reason.text;
        }
    }
    if (!handled.is_menu_mode) {
        return "nothing: outside menu mode, a game has the focus";
    }
    if (WasSaid(handled, "is a combined key") || WasSaid(handled, "[HomeKey Press]start timer")) {
        return IsReleased(handled.input)
                   ? "nothing: let go"
                   : "nothing yet: " + HeldKeyText(keys, handled.input) + " when held for a second";
    }
    if (WasSaid(handled, "Ignore invalid gamepad key event!")) {
        return "nothing: another key is held, " + KeyText(handled.held_before);
    }
    if (WasSaid(handled, "Menu Mode doesn't support")) {
        return WhyNoKey(handled, keys);
    }
    if (handled.held_before != -1) {
        return "nothing: " + KeyText(handled.held_before) + " stays down";
    }
    return IsReleased(handled.input) ? LetGo(handled.input) : "nothing: the game hub is busy";
}

}  // namespace

std::string EventText(const Handled& handled) {
    if (handled.device == -1) {
        return "held for a second";
    }
    const Input& input = handled.input;
    if (input.type == EV_KEY) {
        return NameOf(input) + (input.value == 0 ? " let go" : " pressed");
    }
    const bool is_hat = input.code == ABS_HAT0X || input.code == ABS_HAT0Y;
    const std::string position = is_hat ? input.value == 0 ? " centred" : "" : " (" + std::to_string(input.value) + ")";
    return NameOf(input) + position;
}

std::string OutcomeText(const Handled& handled, const ServiceKeys& keys) {
    std::string text;
    for (const SentKey& key : handled.keys) {
        text += (text.empty() ? "" : ", ") + KeyActionText(key);
    }
    return text.empty() ? WhyNothing(handled, keys) : text + WhyTheseKeys(handled);
}

}  // namespace doctor
