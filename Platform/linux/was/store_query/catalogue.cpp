#include "catalogue.h"

#include <appstream.h>

#include <memory>
#include <stdexcept>

#include "data_directories.h"

namespace {

struct Free {
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GPtrArray* array) const { g_ptr_array_unref(array); }
    void operator()(GError* error) const { g_error_free(error); }
};
using Pool = std::unique_ptr<AsPool, Free>;

constexpr char kUntranslated[] = "C";

// The library reads the system's own catalogues and Flatpak's; those of other data directories are named to it. Only
// catalogues: what is installed was looked up before.
Pool MakePool(const char* locale) {
    Pool pool(as_pool_new());
    as_pool_set_flags(pool.get(), static_cast<AsPoolFlags>(AS_POOL_FLAG_LOAD_OS_CATALOG | AS_POOL_FLAG_LOAD_FLATPAK));
    as_pool_reset_extra_data_locations(pool.get());
    for (const std::string& directory : DataDirectories()) {
        if (directory != "/usr/share") {
            as_pool_add_extra_data_location(pool.get(), (directory + "/swcatalog").c_str(), AS_FORMAT_STYLE_CATALOG);
        }
    }
    if (locale != nullptr) {
        as_pool_set_locale(pool.get(), locale);
    }
    return pool;
}

void Load(AsPool* pool) {
    GError* raw = nullptr;
    if (as_pool_load(pool, nullptr, &raw) == FALSE) {
        const std::unique_ptr<GError, Free> error(raw);
        throw std::runtime_error(std::string("the catalogues cannot be read: ") +
                                 (raw != nullptr ? raw->message : "no reason given"));
    }
}

// Not its add-ons, fonts, drivers or libraries.
bool IsApplication(AsComponent* component) {
    const AsComponentKind kind = as_component_get_kind(component);
    return kind == AS_COMPONENT_KIND_DESKTOP_APP || kind == AS_COMPONENT_KIND_WEB_APP;
}

std::string IdOf(AsComponent* component) {
    AsLaunchable* launchable = as_component_get_launchable(component, AS_LAUNCHABLE_KIND_DESKTOP_ID);
    GPtrArray* ids = launchable != nullptr ? as_launchable_get_entries(launchable) : nullptr;
    const auto* id = ids != nullptr && ids->len > 0 ? static_cast<const char*>(g_ptr_array_index(ids, 0))
                                                    : as_component_get_id(component);
    return id != nullptr ? id : "";
}

// Of several the one whose id comes first, so that the order in the catalogue does not decide.
std::string Find(const Title& title, const char* locale) {
    const Pool pool = MakePool(locale);
    Load(pool.get());
    const std::unique_ptr<GPtrArray, Free> components(as_pool_get_components(pool.get()));
    std::string first;
    for (guint i = 0; i < components->len; ++i) {
        auto* component = static_cast<AsComponent*>(g_ptr_array_index(components.get(), i));
        if (IsApplication(component) && title.Matches(as_component_get_name(component))) {
            const std::string id = IdOf(component);
            first = first.empty() || id < first ? id : first;
        }
    }
    return first;
}

bool UserReadsTranslations() {
    return g_get_language_names()[0][0] != kUntranslated[0];
}

}  // namespace

std::string CatalogueEntry(const Title& title) {
    const std::string id = Find(title, kUntranslated);
    return id.empty() && UserReadsTranslations() ? Find(title, nullptr) : id;
}
