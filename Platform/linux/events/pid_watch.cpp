#include "events/pid_watch.h"

#include <glib-unix.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "events/events_thread.h"
#include "platform/dlog.h"

namespace {

int OpenPidfd(pid_t pid) {
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

}  // namespace

PidWatch::PidWatch(GMainContext* context, pid_t pid, std::function<void()> onEnd)
    : onEnd_(std::move(onEnd)), pidfd_(OpenPidfd(pid)) {
    if (pidfd_ >= 0) {
        source_ = g_unix_fd_source_new(pidfd_, G_IO_IN);
        g_source_set_callback(source_, G_SOURCE_FUNC(OnReadable), this, nullptr);
    } else if (errno == ESRCH) {
        source_ = g_idle_source_new();
        g_source_set_callback(source_, OnGone, this, nullptr);
    } else {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "process %d cannot be watched: %s; its end will not be noticed",
                     static_cast<int>(pid), strerror(errno));
        return;
    }
    g_source_attach(source_, context);
}

PidWatch::~PidWatch() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    if (pidfd_ >= 0) {
        close(pidfd_);
    }
}

gboolean PidWatch::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    DoWork([self] { static_cast<PidWatch*>(self)->End(); });
    return G_SOURCE_REMOVE;
}

gboolean PidWatch::OnGone(gpointer self) {
    DoWork([self] { static_cast<PidWatch*>(self)->End(); });
    return G_SOURCE_REMOVE;
}

// The callback may destroy this object.
void PidWatch::End() {
    const std::function<void()> onEnd = std::move(onEnd_);
    onEnd();
}
