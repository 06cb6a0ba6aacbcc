#ifndef TESTS_LINUX_SUPPORT_PRIVATE_X_SERVER_H
#define TESTS_LINUX_SUPPORT_PRIVATE_X_SERVER_H

#include <memory>
#include <string>

#include "program.h"

/// A real X server of the test's own, without a screen. Sets and restores DISPLAY, which stays the same when the server
/// is restarted. The server is not there until Start.
class PrivateXServer {
public:
    PrivateXServer();
    ~PrivateXServer();
    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;

    void Start();
    void Kill();
    /// Makes it hang, and go on.
    void Stop() const;
    void Continue() const;

private:
    bool Reserve(const std::string& name);

    std::string name_;
    std::unique_ptr<Program> server_;
};

#endif
