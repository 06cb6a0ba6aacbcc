#ifndef PLATFORM_LINUX_EVENTS_CONTEXT_SOURCE_H
#define PLATFORM_LINUX_EVENTS_CONTEXT_SOURCE_H

#include <glib.h>

#include <functional>

/// Work that a main context does when a descriptor is readable or a time has come, for as long as this object lives.
///
/// Threads  made, used and destroyed on the thread of the context, also from inside the work.
class ContextSource {
public:
    ContextSource() = default;
    ~ContextSource() { Stop(); }
    ContextSource(const ContextSource&) = delete;
    ContextSource& operator=(const ContextSource&) = delete;

    /// Each time the descriptor is readable or at its end. The work reads it, or stops this.
    void WhenReadable(GMainContext* context, int fd, std::function<void()> work);
    /// Once.
    void After(GMainContext* context, unsigned milliseconds, std::function<void()> work);
    void Stop();
    bool IsSet() const { return source_ != nullptr; }

private:
    struct Work;
    void Attach(GMainContext* context, GSource* source, GSourceFunc function, std::function<void()> work);
    static gboolean OnReadable(gint fd, GIOCondition condition, gpointer work);
    static gboolean OnTime(gpointer work);

    GSource* source_ = nullptr;
};

#endif
