#include "events/socket_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <utility>

namespace {

constexpr uint32_t kComings = IN_CREATE | IN_ATTRIB | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

SocketWatch::SocketWatch(GMainContext* context, const std::string& path, unsigned delayMs,
                         std::function<void()> onChange)
    : onChange_(std::move(onChange)), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    const bool isWatched = !path.empty() && inotify_ >= 0 && WatchNearestDirectory(path);
    if (isWatched) {
        event_.WhenReadable(context, inotify_, [this] { Tell(); });
    }
    if (!isWatched || access(path.c_str(), F_OK) == 0) {
        timer_.After(context, delayMs, [this] { Tell(); });
    }
}

SocketWatch::~SocketWatch() {
    if (inotify_ >= 0) {
        event_.Stop();
        close(inotify_);
    }
}

// The path's parent, or the nearest of its ancestors that is there.
bool SocketWatch::WatchNearestDirectory(std::string path) const {
    for (size_t slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/')) {
        path.resize(slash);
        if (inotify_add_watch(inotify_, path.empty() ? "/" : path.c_str(), kComings) >= 0) {
            return true;
        }
    }
    return false;
}

void SocketWatch::Tell() {
    event_.Stop();
    timer_.Stop();
    const std::function<void()> onChange = std::move(onChange_);
    onChange();
}
