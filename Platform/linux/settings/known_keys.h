/// The settings that the service reads, writes or watches: the one table for people.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "settings/value.h"

enum class KeyType { kInt, kBool, kString };

struct KnownKey {
    const char* name;
    KeyType type;
    const char* meaning;  // with the values that have one
};

extern const std::array<KnownKey, 7> kKnownKeys;

const KnownKey* FindKey(const std::string& name);

/// The known key that is written most like the name (a bare last part counts as well as a whole key).
const KnownKey& NearestKey(const std::string& name);

const char* TypeName(KeyType type);

/// The value that a person typed for a key of this type: numbers in decimal, true or false, any text as it stands.
std::optional<Value> ValueFromWord(KeyType type, const std::string& word);

/// What may be typed for this type.
const char* AllowedWords(KeyType type);

/// Whether the stored value is of the key's type.
bool IsOfType(const Value& value, KeyType type);
