#include "own_settings.h"

#include <glib.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "program.h"

namespace {

constexpr unsigned kDeadlineSeconds = 20;
constexpr std::array<std::array<const char*, 2>, 3> kDirectories{
    {{"XDG_RUNTIME_DIR", "/run"}, {"XDG_STATE_HOME", "/state"}, {"XDG_CONFIG_HOME", "/config"}}};

gboolean SetFlag(gpointer flag) {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
}

}  // namespace

// The default main context is made here, on the test's own thread: the sanitizers do not see how GLib hands one that
// another thread has made to this one.
OwnSettings::OwnSettings() {
    g_main_context_default();
    char name[] = "/tmp/quorvex-home-XXXXXX";
    if (mkdtemp(name) == nullptr) {
        throw std::runtime_error("no directory for settings");
    }
    root_ = name;
    for (const auto& directory : kDirectories) {
        setenv(directory[0], (root_ + directory[1]).c_str(), 1);
        std::filesystem::create_directory(root_ + directory[1]);
    }
}

OwnSettings::~OwnSettings() {
    for (const auto& directory : kDirectories) {
        unsetenv(directory[0]);
    }
    std::filesystem::remove_all(root_);
}

bool RunMainLoopUntil(const std::function<bool()>& condition) {
    bool isLate = false;
    const unsigned deadline = g_timeout_add_seconds(kDeadlineSeconds, SetFlag, &isLate);
    while (!condition() && !isLate) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(deadline);
    return condition();
}

bool HasThread(const std::string& name) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string known;
        std::getline(std::ifstream(task.path() / "comm"), known);
        if (known == name) {
            return true;
        }
    }
    return false;
}

bool ThreadEnds(const std::string& name) {
    return WaitUntil([&] { return !HasThread(name); });
}

size_t OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}
