#include "events/socket_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <utility>

namespace {

constexpr uint32_t kComings = IN_CREATE | IN_ATTRIB | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

SocketWatch::SocketWatch(GMainContext* context, const std::string& path, unsigned delayMs,
                         std::function<void()> onChange)
    : onChange_(std::move(onChange)) {
    directories_.emplace(context, [this](const auto& /*notices*/) { Tell(); });
    const bool isWatched = !path.empty() && WatchNearestDirectory(path);
    if (!isWatched || access(path.c_str(), F_OK) == 0) {
        timer_.After(context, delayMs, [this] { Tell(); });
    }
}

// The path's parent, or the nearest of its ancestors that is there.
bool SocketWatch::WatchNearestDirectory(const std::string& path) {
    std::string child = path;
    for (size_t slash = child.rfind('/'); slash != std::string::npos; slash = child.rfind('/')) {
        const std::string directory = child.substr(0, slash);
        if (Watch(directory)) {
            // The child may have been made before its parent was watched.
            return child == path || !Watch(child) || WatchNearestDirectory(path);
        }
        child = directory;
    }
    return false;
}

bool SocketWatch::Watch(const std::string& directory) {
    return directories_->Add(directory.empty() ? "/" : directory, kComings) >= 0;
}

void SocketWatch::Tell() {
    directories_.reset();
    timer_.Stop();
    const std::function<void()> onChange = std::move(onChange_);
    onChange();
}
