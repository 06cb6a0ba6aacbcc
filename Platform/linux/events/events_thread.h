#ifndef PLATFORM_LINUX_EVENTS_EVENTS_THREAD_H
#define PLATFORM_LINUX_EVENTS_EVENTS_THREAD_H

#include <glib.h>

#include <functional>

namespace platform_events {
class WorkQueue;
}

/// Runs the work; what it throws is logged, and the thread goes on. For what C libraries call on the thread: nothing
/// may be thrown through them.
void DoWork(const std::function<void()>& work);

/// A share in the thread "platform-events", on which all notices of buses, displays and the kernel are handled: it runs
/// from the first share to the last.
///
/// Threads  any. All signals are blocked on the thread itself.
/// Errors   a process that may not have another thread has no notices: Works() is false and nothing is ever run.
///          Work that throws is logged and counts as done.
class EventsThread {
public:
    EventsThread();
    /// The last share waits for the thread to end, unless it is given up on that very thread.
    ~EventsThread();
    EventsThread(const EventsThread&) = delete;
    EventsThread& operator=(const EventsThread&) = delete;

    bool Works() const { return context_ != nullptr; }
    /// The thread's main context, to attach sources to; null when the thread does not work.
    GMainContext* Context() const { return context_; }

    /// Runs the work on the thread later, in the order of the calls. False when it will not be run.
    bool Post(std::function<void()> work) const;
    /// Runs the work on the thread and returns when it is done; directly when called there.
    bool Run(const std::function<void()>& work) const;

private:
    GMainContext* context_;
    platform_events::WorkQueue* queue_;
};

#endif
