#include "settings/known_keys.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <vector>

const std::array<KnownKey, 7> kKnownKeys{{
    {"memory/accessory/playnest_status", KeyType::kInt,
     "game hub: 0 not there, 1 no cloud game runs, others one does; 1000 asks for a long press of Home"},
    {"memory/accessory/gamepad_active", KeyType::kInt, "grows while a pad is in use; written by the service"},
    {"memory/accessory/downloadable_runtitle", KeyType::kString, "titles of the applications that can be fetched"},
    {"memory/window_system/screensaver_on_off", KeyType::kBool, "true while the screen saver shows"},
    {"db/menu/connection/easy-wakeup", KeyType::kInt, "1: a pad may wake the machine from standby; others: it may not"},
    {"db/menu/homeview/homedatacontrol/defaultdisclaimeragree", KeyType::kInt,
     "0: the terms of the smart services are not accepted; others: they are"},
    {"db/comss/countrycode", KeyType::kString, "the country; CN is treated in its own way"},
}};

namespace {

size_t Distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string LastPart(const std::string& name) {
    return name.substr(name.rfind('/') + 1);
}

size_t Unlikeness(const std::string& name, const std::string& known) {
    return std::min(Distance(name, known), Distance(LastPart(name), LastPart(known)));
}

std::optional<Value> Number(const std::string& word) {
    int number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    return error == std::errc() && stop == end ? std::optional<Value>(number) : std::nullopt;
}

std::optional<Value> Flag(const std::string& word) {
    if (word != "true" && word != "false") {
        return std::nullopt;
    }
    return word == "true";
}

}  // namespace

const KnownKey* FindKey(const std::string& name) {
    const auto found =
        std::find_if(kKnownKeys.begin(), kKnownKeys.end(), [&](const KnownKey& key) { return name == key.name; });
    return found == kKnownKeys.end() ? nullptr : &*found;
}

const KnownKey& NearestKey(const std::string& name) {
    return *std::min_element(kKnownKeys.begin(), kKnownKeys.end(), [&](const KnownKey& a, const KnownKey& b) {
        return Unlikeness(name, a.name) < Unlikeness(name, b.name);
    });
}

const char* TypeName(KeyType type) {
    return type == KeyType::kInt ? "int" : type == KeyType::kBool ? "bool" : "string";
}

std::optional<Value> ValueFromWord(KeyType type, const std::string& word) {
    switch (type) {
        case KeyType::kInt:
            return Number(word);
        case KeyType::kBool:
            return Flag(word);
        case KeyType::kString:
            break;
    }
    return IsText(word) ? std::optional<Value>(word) : std::nullopt;
}

const char* AllowedWords(KeyType type) {
    switch (type) {
        case KeyType::kInt:
            return "a whole number from -2147483648 to 2147483647";
        case KeyType::kBool:
            return "true or false";
        case KeyType::kString:
            break;
    }
    return "a text in UTF-8";
}

bool IsOfType(const Value& value, KeyType type) {
    switch (type) {
        case KeyType::kInt:
            return std::holds_alternative<int>(value);
        case KeyType::kBool:
            return std::holds_alternative<bool>(value);
        case KeyType::kString:
            break;
    }
    return std::holds_alternative<std::string>(value);
}
