#ifndef PLATFORM_LINUX_EVENTS_PID_WATCH_H
#define PLATFORM_LINUX_EVENTS_PID_WATCH_H

#include <glib.h>
#include <sys/types.h>

#include <functional>

/// Tells when a process ends, at once and without asking again and again.
///
/// Threads  made, used and destroyed on the thread of the context.
/// Errors   a process that is not there any more has ended: onEnd is called all the same, from the context. One that
///          cannot be watched (no descriptors left, a kernel before 5.3) is told of in one message.
class PidWatch {
public:
    PidWatch(GMainContext* context, pid_t pid, std::function<void()> onEnd);
    ~PidWatch();
    PidWatch(const PidWatch&) = delete;
    PidWatch& operator=(const PidWatch&) = delete;

private:
    static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);
    static gboolean OnGone(gpointer self);
    void End();

    std::function<void()> onEnd_;
    int pidfd_;
    GSource* source_ = nullptr;
};

#endif
