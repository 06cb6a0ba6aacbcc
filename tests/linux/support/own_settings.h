#ifndef TESTS_LINUX_SUPPORT_OWN_SETTINGS_H
#define TESTS_LINUX_SUPPORT_OWN_SETTINGS_H

#include <functional>
#include <string>

/// Directories of the test's own for everything that the platform keeps or reads: sets and restores XDG_RUNTIME_DIR,
/// XDG_STATE_HOME and XDG_CONFIG_HOME.
class OwnSettings {
public:
    OwnSettings();
    ~OwnSettings();
    OwnSettings(const OwnSettings&) = delete;
    OwnSettings& operator=(const OwnSettings&) = delete;

    const std::string& Root() const { return root_; }
    /// Where a "memory/" key is kept.
    std::string FileOf(const std::string& key) const { return root_ + "/run/quorvex/" + key; }

private:
    std::string root_;
};

/// Iterates the default main context, where settings' changes are told, until the condition holds; false after twenty
/// seconds.
bool RunMainLoopUntil(const std::function<bool()>& condition);

/// Whether the thread of this name runs in this process. The kernel still shows one for a moment after it was joined.
bool HasThread(const std::string& name);
/// False when it has not ended after twenty seconds.
bool ThreadEnds(const std::string& name);

size_t OpenDescriptors();

#endif
