#include "state.h"

#include <glib.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "data_directories.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kTagLength = 16;  // digits: more than enough to tell two states apart

// Entries may be in directories below, and those have their own time.
void AddWithAllBelow(const fs::path& directory, std::set<std::string>& directories) {
    directories.insert(directory);
    std::error_code error;
    fs::recursive_directory_iterator at(directory, fs::directory_options::skip_permission_denied, error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        if (at->is_directory(error) && !at->is_symlink(error)) {
            directories.insert(at->path());
        }
    }
}

std::string TimeOf(const std::string& directory) {
    struct stat status {};
    if (stat(directory.c_str(), &status) != 0) {
        return "none";
    }
    return std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
}

// Not the catalogues' own folder, in which the look-up itself may keep a copy of what it has read.
void AddCatalogues(const std::string& data, std::set<std::string>& directories) {
    AddWithAllBelow(data + "/swcatalog/xml", directories);
    AddWithAllBelow(data + "/swcatalog/yaml", directories);
    AddWithAllBelow(data + "/flatpak/appstream", directories);
}

std::set<std::string> Directories() {
    std::set<std::string> directories;
    AddCatalogues("/var/lib", directories);
    AddCatalogues("/var/cache", directories);
    for (const std::string& data : DataDirectories()) {
        AddCatalogues(data, directories);
        AddWithAllBelow(data + "/applications", directories);
    }
    return directories;
}

}  // namespace

std::string StateTag() {
    std::string text;
    for (const std::string& directory : Directories()) {
        text += directory + " " + TimeOf(directory) + "\n";
    }
    gchar* digest = g_compute_checksum_for_string(G_CHECKSUM_SHA256, text.c_str(), -1);
    std::string tag(digest, kTagLength);
    g_free(digest);
    return tag;
}
