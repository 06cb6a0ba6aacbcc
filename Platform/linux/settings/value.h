/// The value of a setting and its text form.
///
/// The text is a GVariant's with its type: `int32 5`, `true`, `'CN'`. A plain `5` is read too, because people write
/// `echo 5 > file`.
#pragma once

#include <optional>
#include <string>
#include <variant>

using Value = std::variant<int, bool, std::string>;

/// The text form, always one line. Strings must be valid UTF-8 without NUL (see IsText).
std::string FormatValue(const Value& value);

/// Nothing where the text is no GVariant or one of another type; white space around the value is ignored.
std::optional<Value> ParseValue(const std::string& text);

/// Whether a string can be stored: valid UTF-8 without NUL.
bool IsText(const std::string& text);

/// What a person would write for a value of T, used in messages.
template <typename T>
const char* ExampleOf();
template <>
const char* ExampleOf<int>();
template <>
const char* ExampleOf<bool>();
template <>
const char* ExampleOf<std::string>();

/// The text on one line of printable ASCII, in double quotes and cut to a readable length, for messages.
std::string Quoted(const std::string& text);
