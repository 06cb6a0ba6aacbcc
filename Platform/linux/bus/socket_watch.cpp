#include "bus/socket_watch.h"

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <utility>

#include "events/events_thread.h"

namespace {

constexpr uint32_t kComings = IN_CREATE | IN_ATTRIB | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

SocketWatch::SocketWatch(GMainContext* context, const std::string& path, unsigned delaySeconds,
                         std::function<void()> onChange)
    : onChange_(std::move(onChange)), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    const bool isWatched = !path.empty() && inotify_ >= 0 && WatchNearestDirectory(path);
    if (isWatched) {
        event_ = g_unix_fd_source_new(inotify_, G_IO_IN);
        g_source_set_callback(event_, G_SOURCE_FUNC(OnEvent), this, nullptr);
        g_source_attach(event_, context);
    }
    if (!isWatched || access(path.c_str(), F_OK) == 0) {
        timer_ = g_timeout_source_new_seconds(delaySeconds);
        g_source_set_callback(timer_, OnTime, this, nullptr);
        g_source_attach(timer_, context);
    }
}

SocketWatch::~SocketWatch() {
    Drop(event_);
    Drop(timer_);
    if (inotify_ >= 0) {
        close(inotify_);
    }
}

void SocketWatch::Drop(GSource*& source) {
    if (source != nullptr) {
        g_source_destroy(source);
        g_source_unref(source);
        source = nullptr;
    }
}

// The path's parent, or the nearest of its ancestors that is there.
bool SocketWatch::WatchNearestDirectory(std::string path) {
    for (size_t slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/')) {
        path.resize(slash);
        if (inotify_add_watch(inotify_, path.empty() ? "/" : path.c_str(), kComings) >= 0) {
            return true;
        }
    }
    return false;
}

gboolean SocketWatch::OnEvent(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    DoWork([self] { static_cast<SocketWatch*>(self)->Tell(); });
    return G_SOURCE_REMOVE;
}

gboolean SocketWatch::OnTime(gpointer self) {
    DoWork([self] { static_cast<SocketWatch*>(self)->Tell(); });
    return G_SOURCE_REMOVE;
}

void SocketWatch::Tell() {
    Drop(event_);
    Drop(timer_);
    const std::function<void()> onChange = std::move(onChange_);
    onChange();
}
