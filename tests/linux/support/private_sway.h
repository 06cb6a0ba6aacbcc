#ifndef TESTS_LINUX_SUPPORT_PRIVATE_SWAY_H
#define TESTS_LINUX_SUPPORT_PRIVATE_SWAY_H

#include <memory>
#include <string>

#include "program.h"

/// A real sway of the test's own, without a screen, as an ordinary user. Sets and restores WAYLAND_DISPLAY (the
/// socket's path) and SWAYSOCK, which stay the same when it is restarted. It is not there until Start.
class PrivateSway {
public:
    PrivateSway();
    ~PrivateSway();
    PrivateSway(const PrivateSway&) = delete;
    PrivateSway& operator=(const PrivateSway&) = delete;

    void Start();
    void Kill();
    /// What a client of it needs.
    Program::Setting ClientSetting() const;
    /// A directory that the ordinary user may write to.
    const std::string& Directory() const { return directory_; }

private:
    std::string directory_;
    std::unique_ptr<Program> sway_;
};

#endif
