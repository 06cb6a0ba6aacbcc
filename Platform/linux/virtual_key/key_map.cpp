#include "virtual_key/key_map.h"

#include <libevdev/libevdev.h>

#include <charconv>
#include <optional>
#include <sstream>
#include <utility>

#include "tzplatform/base_directory.h"
#include "virtual_key/key_codes.h"

namespace {

std::vector<std::string> Words(const std::string& line) {
    std::istringstream text(line.substr(0, line.find('#')));
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

std::optional<int> PlatformCode(const std::string& word) {
    int code = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, code);
    const bool isKey = error == std::errc() && stop == end && IsInKernelsRange(code);
    return isKey ? std::optional<int>(code) : std::nullopt;
}

/// One line's key, added to the table; empty, or what is wrong with it.
std::string AddKey(const std::vector<std::string>& words, KeyTable& table) {
    if (words.size() != 2) {
        return "a line is a key code and a key name, as in \"71 KEY_HOMEPAGE\"";
    }
    const std::optional<int> code = PlatformCode(words[0]);
    if (!code) {
        return "\"" + words[0] + "\" is no key code; these go from 9 to 775";
    }
    const int kernelCode = libevdev_event_code_from_name(EV_KEY, words[1].c_str());
    if (kernelCode < 0) {
        return "\"" + words[1] + "\" is no name of a key";
    }
    const int sent = kernelCode + kPlatformCodeOffset;
    if (const char* reason = WhyNoKey(sent)) {
        return words[1] + " is refused: " + reason;
    }
    return table.emplace(*code, sent).second ? "" : "an earlier line names the key for " + words[0] + " already";
}

}  // namespace

KeyTable ReadKeyTable(const std::string& text, std::vector<std::string>& complaints) {
    KeyTable table;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::vector<std::string> words = Words(line);
        const std::string wrong = words.empty() ? "" : AddKey(words, table);
        if (!wrong.empty()) {
            complaints.push_back("line " + std::to_string(number) + ": " + wrong + "; the line is left out");
        }
    }
    return table;
}

std::string KeyMapPath() {
    return BaseDirectory("XDG_CONFIG_HOME", ".config") + "/quorvex/keymap";
}

int KeyMap::Sent(int platformCode) const {
    const Hold lock(lock_);
    const auto found = table_.find(platformCode);
    return found == table_.end() ? platformCode : found->second;
}

void KeyMap::Replace(KeyTable table) {
    const Hold lock(lock_);
    table_ = std::move(table);
}
