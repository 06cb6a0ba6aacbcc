#include "fuzz.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace fuzz {
namespace {

// A library that was called wrongly says so and goes on; here that is a defect like any other. GLib ends a program by a
// trap, which the fuzzer does not know.
void MakeCriticalsFatal() {
    g_log_set_always_fatal(G_LOG_LEVEL_CRITICAL);
    std::signal(SIGTRAP, [](int) { std::abort(); });
}
[[maybe_unused]] const bool gAreFatal = (MakeCriticalsFatal(), true);

}  // namespace

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "This must hold and does not: %s\n", what);
        std::abort();
    }
}

void Input::Fill(void* bytes, std::size_t size) {
    const std::size_t there = std::min(size, left_);
    std::memset(bytes, 0, size);
    if (there > 0) {
        std::memcpy(bytes, data_, there);
    }
    data_ += there;
    left_ -= there;
}

std::string Input::Take(std::size_t length) {
    std::string text(std::min(length, left_), '\0');
    Fill(text.data(), text.size());
    return text;
}

Folder::Folder() : path_("/tmp/quorvex-fuzz-XXXXXX") {
    Require(mkdtemp(path_.data()) != nullptr, "there is a temporary folder");
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string Folder::Write(const std::string& name, const std::string& content) const {
    const std::string path = path_ + "/" + name;
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    }
    const auto written = write(file, content.data(), content.size());
    Require(written == static_cast<ssize_t>(content.size()), "files can be written");
    close(file);
    return path;
}

void Set(const char* variable, const std::string& value) {
    setenv(variable, value.c_str(), /*overwrite=*/1);
}

}  // namespace fuzz
