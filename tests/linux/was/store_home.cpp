#include "store_home.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

constexpr const char* kVariables[] = {"XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CACHE_HOME",
                                      "LANGUAGE",      "LC_ALL",        "QUORVEX_STORE_QUERY"};

}  // namespace

StoreHome::StoreHome() {
    for (const char* const name : kVariables) {
        if (const char* value = std::getenv(name)) {
            before_[name] = value;
        }
    }
    root_ = testing::TempDir() + "store-XXXXXX";
    EXPECT_NE(mkdtemp(root_.data()), nullptr);
    setenv("XDG_DATA_HOME", InHome("").c_str(), 1);
    setenv("XDG_DATA_DIRS", InSystem("").c_str(), 1);
    setenv("XDG_CACHE_HOME", (root_ + "/cache").c_str(), 1);
    setenv("QUORVEX_STORE_QUERY", QUERY_PROGRAM, 1);
    SetLanguage("");
}

StoreHome::~StoreHome() {
    for (const char* const name : kVariables) {
        const auto value = before_.find(name);
        value == before_.end() ? unsetenv(name) : setenv(name, value->second.c_str(), 1);
    }
    fs::remove_all(root_);
}

void StoreHome::Install(const std::string& id, const std::string& name, const std::string& lines) const {
    WriteFile(InSystem("applications/" + id), Entry(name, lines));
}

std::string StoreHome::Script(const std::string& name, const std::string& text) const {
    std::string path = root_ + "/" + name;
    WriteFile(path, "#!/bin/sh\n" + text + "\n");
    chmod(path.c_str(), 0755);
    return path;
}

void StoreHome::SetLanguage(const std::string& language) const {
    setenv("LC_ALL", language.empty() ? "C" : "C.UTF-8", 1);
    setenv("LANGUAGE", language.c_str(), 1);
}

void WriteFile(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string Entry(const std::string& name, const std::string& lines) {
    return "[Desktop Entry]\nType=Application\nExec=true\nName=" + name + "\n" + lines;
}

std::string Component(const std::string& id, const std::string& name, const std::string& more,
                      const std::string& kind) {
    return "<component type=\"" + kind + "\"><id>" + id + "</id><name>" + name + "</name>" + more +
           "<summary>One of them</summary><pkgname>" + id + "</pkgname></component>\n";
}

std::string Catalogue(const std::string& components) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<components version=\"0.16\" origin=\"here\">\n" + components +
           "</components>\n";
}
