#pragma once

#include <string>

/// A server that accepts whoever connects and never answers, for as long as it lives. Anybody may connect.
class SilentServer {
public:
    explicit SilentServer(const std::string& path);
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

private:
    const std::string path_;
    const int listener_;
};
