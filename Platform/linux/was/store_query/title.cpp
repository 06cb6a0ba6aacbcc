#include "title.h"

#include <glib.h>

#include <memory>

namespace {

struct Free {
    void operator()(gchar* text) const { g_free(text); }
};
using Text = std::unique_ptr<gchar, Free>;

Text Normalized(const char* text) {
    return Text(g_utf8_normalize(text, -1, G_NORMALIZE_ALL_COMPOSE));
}

// Folding can take a text out of its normal form, and the normal form of a folded text can have capitals again.
Text Folded(const char* text) {
    const Text folded(g_utf8_casefold(Normalized(text).get(), -1));
    const Text again(g_utf8_casefold(Normalized(folded.get()).get(), -1));
    return Normalized(again.get());
}

std::string WithSingleBlanks(const char* text) {
    std::string result;
    bool isBetweenWords = false;
    for (const char* at = text; *at != '\0';) {
        const char* const next = g_utf8_next_char(at);
        const bool isBlank = g_unichar_isspace(g_utf8_get_char(at)) != FALSE;
        if (!isBlank) {
            result.append(isBetweenWords && !result.empty() ? " " : "").append(at, next);
        }
        isBetweenWords = isBlank;
        at = next;
    }
    return result;
}

}  // namespace

Title::Title(const char* text) {
    if (text != nullptr && g_utf8_validate(text, -1, nullptr) != FALSE) {
        folded_ = WithSingleBlanks(Folded(text).get());
    }
}
