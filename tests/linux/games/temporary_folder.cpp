#include "temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

TemporaryFolder::TemporaryFolder() {
    char name[] = "/tmp/quorvex-games-XXXXXX";
    if (mkdtemp(name) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::filesystem::remove_all(path_);
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = Path(name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
    return path;
}

void TemporaryFolder::Replace(const std::string& name, const std::string& text) const {
    std::filesystem::rename(Write(name + ".new", text), Path(name));
}
