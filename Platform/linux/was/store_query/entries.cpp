#include "entries.h"

#include <gio/gdesktopappinfo.h>

#include <memory>
#include <tuple>

namespace {

struct Free {
    void operator()(gchar* text) const { g_free(text); }
    void operator()(GList* entries) const { g_list_free_full(entries, g_object_unref); }
    void operator()(GDesktopAppInfo* entry) const { g_object_unref(entry); }
};

bool HasUntranslatedName(GAppInfo* entry, const Title& title) {
    const std::unique_ptr<gchar, Free> name(
        g_desktop_app_info_get_string(G_DESKTOP_APP_INFO(entry), G_KEY_FILE_DESKTOP_KEY_NAME));
    return title.Matches(name.get());
}

/// The smaller the better; the id last, so that the order of the entries does not decide.
using Rank = std::tuple<bool, bool, std::string>;

Rank RankOf(GAppInfo* entry, bool isTranslated) {
    return {g_app_info_should_show(entry) == FALSE, isTranslated, g_app_info_get_id(entry)};
}

}  // namespace

std::string InstalledEntry(const Title& title) {
    const std::unique_ptr<GList, Free> entries(g_app_info_get_all());
    Rank best{true, true, ""};
    for (const GList* at = entries.get(); at != nullptr; at = at->next) {
        auto* entry = static_cast<GAppInfo*>(at->data);
        const bool isUntranslated = HasUntranslatedName(entry, title);
        if (!isUntranslated && !title.Matches(g_app_info_get_name(entry))) {
            continue;
        }
        Rank rank = RankOf(entry, !isUntranslated);
        if (std::get<std::string>(best).empty() || rank < best) {
            best = std::move(rank);
        }
    }
    return std::get<std::string>(best);
}

bool IsInstalled(const std::string& id) {
    return !id.empty() && std::unique_ptr<GDesktopAppInfo, Free>(g_desktop_app_info_new(id.c_str())) != nullptr;
}
