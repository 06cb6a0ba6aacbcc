#include "data_directories.h"

#include <glib.h>

std::vector<std::string> DataDirectories() {
    std::vector<std::string> directories{g_get_user_data_dir()};
    for (const gchar* const* at = g_get_system_data_dirs(); *at != nullptr; ++at) {
        directories.emplace_back(*at);
    }
    for (std::string& directory : directories) {
        directory.erase(directory.find_last_not_of('/') + 1);
    }
    return directories;
}
