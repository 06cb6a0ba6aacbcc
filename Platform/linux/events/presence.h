#pragma once

#include <string>
#include <utility>

/// Tells of a server that is missing once, however many parts of the platform miss it: when the first one does, and
/// when the last one has it again. A server that is there from the beginning is not worth a message.
///
/// Threads  the events thread.
class Presence {
public:
    /// One part's view of the server. Parts of the same server give it the same name.
    explicit Presence(std::string server) : server_(std::move(server)) {}
    ~Presence();
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

    void Missing(const std::string& why);
    void There();

private:
    const std::string server_;
    bool isMissing_ = false;
};
