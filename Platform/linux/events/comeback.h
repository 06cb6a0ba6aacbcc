#ifndef PLATFORM_LINUX_EVENTS_COMEBACK_H
#define PLATFORM_LINUX_EVENTS_COMEBACK_H

#include <glib.h>

#include <functional>
#include <memory>
#include <string>

#include "events/presence.h"
#include "events/socket_watch.h"

/// The way back to a server that is not there: says when it is worth trying again, and tells its coming and going
/// (Presence).
///
/// Threads  made, used and destroyed on the thread of the context, where tryAgain arrives.
class Comeback {
public:
    Comeback(GMainContext* context, std::string server, std::function<void()> tryAgain);
    Comeback(const Comeback&) = delete;
    Comeback& operator=(const Comeback&) = delete;

    /// tryAgain comes when something happens around the socket, or after a delay that grows as long as nothing does.
    /// `socketPath` is empty for a server that has none in the file system.
    void Gone(const std::string& socketPath, const std::string& why);
    void There();

private:
    void Try(gint64 end);

    GMainContext* context_;
    Presence presence_;
    const std::function<void()> tryAgain_;
    unsigned delayMs_;
    std::unique_ptr<SocketWatch> watch_;
};

#endif
