#include "settings/value.h"

#include <glib.h>

#include <memory>

namespace {

constexpr size_t kQuotedBytes = 60;

struct Unref {
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(gchar* text) const { g_free(text); }
};
using Variant = std::unique_ptr<GVariant, Unref>;
using Text = std::unique_ptr<gchar, Unref>;

std::string FormatString(const std::string& value) {
    const Variant variant(g_variant_ref_sink(g_variant_new_string(value.c_str())));
    return Text(g_variant_print(variant.get(), TRUE)).get();
}

}  // namespace

// GVariant prints an int32 without its type, as the default; the file shall say it.
std::string FormatValue(const Value& value) {
    if (const int* number = std::get_if<int>(&value)) {
        return "int32 " + std::to_string(*number);
    }
    if (const bool* flag = std::get_if<bool>(&value)) {
        return *flag ? "true" : "false";
    }
    return FormatString(std::get<std::string>(value));
}

// The parser expects UTF-8 and takes a NUL for the end.
std::optional<Value> ParseValue(const std::string& text) {
    if (!IsText(text)) {
        return std::nullopt;
    }
    const Variant variant(g_variant_parse(nullptr, text.data(), text.data() + text.size(), nullptr, nullptr));
    if (variant == nullptr) {
        return std::nullopt;
    }
    if (g_variant_is_of_type(variant.get(), G_VARIANT_TYPE_INT32)) {
        return g_variant_get_int32(variant.get());
    }
    if (g_variant_is_of_type(variant.get(), G_VARIANT_TYPE_BOOLEAN)) {
        return g_variant_get_boolean(variant.get()) != FALSE;
    }
    if (g_variant_is_of_type(variant.get(), G_VARIANT_TYPE_STRING)) {
        return std::string(g_variant_get_string(variant.get(), nullptr));
    }
    return std::nullopt;
}

bool IsText(const std::string& text) {
    return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

template <>
const char* ExampleOf<int>() {
    return "a number such as 5";
}

template <>
const char* ExampleOf<bool>() {
    return "true or false";
}

template <>
const char* ExampleOf<std::string>() {
    return "a text in quotes such as 'CN'";
}

std::string Quoted(const std::string& text) {
    const bool cut = text.size() > kQuotedBytes;
    const std::string shown = text.substr(0, kQuotedBytes);
    const size_t end = shown.find('\0');
    const std::string escaped = Text(g_strescape(shown.c_str(), nullptr)).get();
    return '"' + escaped + (end != std::string::npos ? "\\000..." : cut ? "..." : "") + '"';
}
