#include "system_info/product_conf.h"

#include <glib.h>

#include <memory>
#include <string>

#include "platform/dlog.h"
#include "settings/complaints.h"
#include "settings/value.h"
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

KeyFile Load(const std::string& path) {
    KeyFile file(g_key_file_new(), g_key_file_free);
    GError* error = nullptr;
    g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &error);
    if (error != nullptr && !IsAbsence(*error)) {
        TheComplaints().Tell({path, path + ": " + error->message + "; the file is not used"});
    } else {
        TheComplaints().Over(path);
    }
    g_clear_error(&error);
    return file;
}

/// The value as it stands in the file.
std::optional<std::string> Text(GKeyFile& file, const char* key) {
    const std::unique_ptr<char, decltype(&g_free)> text(g_key_file_get_value(&file, kGroup, key, nullptr), g_free);
    return text == nullptr ? std::nullopt : std::optional<std::string>(text.get());
}

template <typename Value, typename Get>
std::optional<Value> Read(const char* key, const char* expected, Get get) {
    const std::string path = Path();
    const KeyFile file = Load(path);
    const std::optional<std::string> text = Text(*file, key);
    if (!text) {
        return std::nullopt;
    }
    const std::string about = path + ", " + key;
    GError* error = nullptr;
    const Value value = static_cast<Value>(get(file.get(), kGroup, key, &error));
    if (error == nullptr) {
        TheComplaints().Over(about);
        return value;
    }
    g_error_free(error);
    TheComplaints().Tell({about, about + ": " + expected + " is expected, not " + Quoted(*text) + "; it is not used"});
    return std::nullopt;
}

}  // namespace

std::optional<bool> ProductFlag(const char* key) {
    return Read<bool>(key, "true or false", g_key_file_get_boolean);
}

std::optional<int> ProductNumber(const char* key) {
    return Read<int>(key, "a whole number", g_key_file_get_integer);
}
