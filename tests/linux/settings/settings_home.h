/// What the tests of the settings share: directories of their own, the log's messages, the main loop with a deadline.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/vconf.h"

constexpr char kHub[] = "memory/accessory/playnest_status";
constexpr char kActive[] = "memory/accessory/gamepad_active";
constexpr char kTitles[] = "memory/accessory/downloadable_runtitle";
constexpr char kSaver[] = "memory/window_system/screensaver_on_off";
constexpr char kCountry[] = "db/comss/countrycode";

/// The messages logged since the last call (the log's function is replaced in this program).
std::vector<std::string> TakeMessages();

/// Iterates the default main context until the condition holds; false after ten seconds.
bool RunLoopUntil(const std::function<bool()>& condition);

/// Runs a command line in a shell of its own; its exit status.
int Shell(const std::string& commandLine);

/// Removes what a directory's or file's mode bits forbid, also for a test that runs as root.
class AsOrdinaryUser {
public:
    AsOrdinaryUser();
    ~AsOrdinaryUser();
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;

private:
    const uid_t before_;
};

/// One call of Changes::Callback.
struct Change {
    int number;
    int flag;
    std::thread::id thread;
};

/// Takes notices; give its address as user data.
class Changes {
public:
    static void Callback(keynode_t* node, void* self);
    size_t Count() const;
    std::vector<int> Numbers() const;
    Change Last() const;

private:
    mutable std::mutex mutex_;
    std::vector<Change> changes_;
};

/// $XDG_RUNTIME_DIR and $XDG_STATE_HOME are fresh directories; a GLib warning ends the test program.
class SettingsHome : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    const std::string& Root() const { return root_; }
    std::string Runtime() const { return root_ + "/run"; }
    std::string State() const { return root_ + "/state"; }
    std::string FileOf(const std::string& key) const;
    /// Replaces the file's contents as a shell's `>` does, its directories made before.
    void Put(const std::string& key, const std::string& contents) const;
    std::string Contents(const std::string& key) const;

private:
    std::string root_;
};
