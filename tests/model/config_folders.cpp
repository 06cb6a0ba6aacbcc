#include "config_folders.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "household.h"

namespace {

namespace fs = std::filesystem;

class Folders {
public:
    Folders() {
        std::string name = (fs::temp_directory_path() / "quorvex-model-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            perror("mkdtemp");
            abort();
        }
        root_ = name;
        for (size_t config = 0; config < kConfigs.size(); ++config) {
            Write(config);
        }
    }
    ~Folders() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    Folders(const Folders&) = delete;
    Folders& operator=(const Folders&) = delete;

    fs::path Folder(size_t config) const { return root_ / std::to_string(config); }

private:
    void Write(size_t config) const {
        fs::create_directories(Folder(config) / "accessory");
        std::ofstream file(Folder(config) / "accessory" / "app_config.json");
        file << "{\"global_config\": [";
        const char* separator = "";
        for (const auto& [button, binding] : kConfigs[config].bindings) {
            file << separator << "{\"key_code\": " << button << ", \"runtitle\": \"" << binding.title
                 << "\", \"virtual_key\": " << binding.key << "}";
            separator = ", ";
        }
        file << "]}\n";
    }

    fs::path root_;
};

}  // namespace

std::string ConfigFolder(size_t config) {
    static const Folders folders;
    return folders.Folder(config).string();
}
