#ifndef PLATFORM_LINUX_EVENTS_SOCKET_WATCH_H
#define PLATFORM_LINUX_EVENTS_SOCKET_WATCH_H

#include <glib.h>

#include <functional>
#include <optional>
#include <string>

#include "events/context_source.h"
#include "events/path_watch.h"

/// Tells once when it is worth connecting (again): when something happens in the socket's directory, also when that
/// directory itself comes later; and after a delay where no directory can tell: the socket has no path, or is there
/// although nobody listens (yet).
///
/// Threads  made and destroyed on the thread of the context, where onChange arrives; onChange may destroy this object.
class SocketWatch {
public:
    /// `path` is empty for a socket that has none in the file system.
    SocketWatch(GMainContext* context, const std::string& path, unsigned delayMs, std::function<void()> onChange);
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;

private:
    bool WatchNearestDirectory(const std::string& path);
    bool Watch(const std::string& directory);
    void Tell();

    std::function<void()> onChange_;
    std::optional<PathWatch> directories_;
    ContextSource timer_;
};

#endif
