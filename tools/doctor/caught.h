/// What the service's objects and the platform would do to this machine, caught before it happens: keys, settings, the
/// screensaver and the power stay as they are. All other calls of the interface reach the platform.
///
/// In a program that links this every message of the service and the platform comes here too, and none is printed.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "platform/dlog.h"

namespace doctor {

struct Message {
    int priority;
    std::string text;  ///< without the place in the source that the service's messages begin with
};

struct SentKey {
    int code;    ///< the platform's
    int action;  ///< KEY_ACTION_...
};

/// Threads  called on the thread that did it, one at a time. Must not call the service or the platform.
class Catcher {
public:
    virtual ~Catcher() = default;
    virtual void OnMessage(const Message& /*message*/) {}
    virtual void OnKey(const SentKey& /*key*/) {}
    /// The service opened a pad, or is about to handle what it has taken from one.
    virtual void OnOpened(int /*device*/, const std::string& /*uid*/) {}
    virtual void OnTaken(int /*device*/, int /*count*/) {}
};

/// While it lives, the catcher gets what is caught; then the one before it again. What nobody gets is forgotten.
class Catching {
public:
    explicit Catching(Catcher& catcher);
    ~Catching();
    Catching(const Catching&) = delete;
    Catching& operator=(const Catching&) = delete;

private:
    Catcher* const before_;
};

/// Keeps messages. Any thread.
class Notes : public Catcher {
public:
    void OnMessage(const Message& message) override;
    std::vector<Message> All() const;
    /// The texts of the errors that came since the last call.
    std::vector<std::string> NewErrors();
    /// Why the platform has said that this server is not there; empty when it has not.
    std::string WhyMissing(const std::string& server) const;

private:
    mutable std::mutex lock_;
    std::vector<Message> messages_;
    std::size_t seen_ = 0;
};

}  // namespace doctor
