#ifndef TESTS_LINUX_SUPPORT_PRIVATE_BUS_H
#define TESTS_LINUX_SUPPORT_PRIVATE_BUS_H

#include <sys/types.h>

#include <string>

/// A real message bus of the test's own, under an address that stays the same when it is restarted. Sets and restores
/// DBUS_SESSION_BUS_ADDRESS, or another variable. The bus is not there until Start.
class PrivateBus {
public:
    explicit PrivateBus(const std::string& variable = "DBUS_SESSION_BUS_ADDRESS");
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    void Start();
    void Kill();
    bool Runs() const { return daemon_ > 0; }

private:
    const std::string variable_;
    std::string directory_;
    pid_t daemon_ = -1;
};

#endif
