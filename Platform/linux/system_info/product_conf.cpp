#include "system_info/product_conf.h"

#include <glib.h>

#include <memory>
#include <string>

#include "platform/dlog.h"
#include "settings/complaints.h"
#include "tzplatform/base_directory.h"

namespace {

constexpr char kGroup[] = "product";

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

std::string Path() {
    return BaseDirectory("XDG_CONFIG_HOME", ".config") + "/quorvex/product.conf";
}

// Never destroyed: other threads may still ask while the process ends.
Complaints& TheComplaints() {
    static Complaints& complaints = *new Complaints(
        [](const std::string& text) { __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s", text.c_str()); });
    return complaints;
}

bool IsAbsence(const GError& error) {
    return error.domain == G_FILE_ERROR && (error.code == G_FILE_ERROR_NOENT || error.code == G_FILE_ERROR_NOTDIR);
}

/// Tells the error, if any, and frees it.
void Settle(const std::string& about, const std::string& consequence, bool isProblem, GError* error) {
    if (isProblem) {
        TheComplaints().Tell({about, about + ": " + error->message + "; " + consequence});
    } else {
        TheComplaints().Over(about);
    }
    g_clear_error(&error);
}

KeyFile Load(const std::string& path) {
    KeyFile file(g_key_file_new(), g_key_file_free);
    GError* error = nullptr;
    g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &error);
    Settle(path, "the file is not used", error != nullptr && !IsAbsence(*error), error);
    return file;
}

template <typename Value, typename Get>
std::optional<Value> Read(const char* key, Get get) {
    const std::string path = Path();
    const KeyFile file = Load(path);
    if (g_key_file_has_key(file.get(), kGroup, key, nullptr) == 0) {
        return std::nullopt;
    }
    GError* error = nullptr;
    const Value value = static_cast<Value>(get(file.get(), kGroup, key, &error));
    const bool isBad = error != nullptr;
    Settle(path + ", " + key, "it is not used", isBad, error);
    return isBad ? std::nullopt : std::optional<Value>(value);
}

}  // namespace

std::optional<bool> ProductFlag(const char* key) {
    return Read<bool>(key, g_key_file_get_boolean);
}

std::optional<int> ProductNumber(const char* key) {
    return Read<int>(key, g_key_file_get_integer);
}
