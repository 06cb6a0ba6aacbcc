/// The other end of a socket that the platform connects to: says what a run's input has it say, and nothing else.
#pragma once

#include <string>

namespace fuzz {

class SocketServer {
public:
    explicit SocketServer(std::string path);
    ~SocketServer();
    SocketServer(const SocketServer&) = delete;
    SocketServer& operator=(const SocketServer&) = delete;

    const std::string& Path() const { return path_; }
    void Accept();  ///< the platform, which has connected
    void Say(const std::string& bytes) const;
    void HangUp();

private:
    const std::string path_;
    const int listening_;
    int connection_ = -1;
};

/// Runs what is due in the default context.
void RunContext();

}  // namespace fuzz
