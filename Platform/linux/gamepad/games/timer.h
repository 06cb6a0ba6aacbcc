/// Something to do later on the thread of a main context.
#pragma once

#include <glib.h>

#include <functional>

namespace games {

/// Threads  made and destroyed on the context's thread, also inside on_time, which runs there. At: any thread.
class Timer {
public:
    Timer(GMainContext* context, std::function<void()> on_time);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// In microseconds of g_get_monotonic_time; what is past is done at once. Replaces the time that was set before.
    void At(gint64 time) { g_source_set_ready_time(source_, time); }

private:
    static gboolean Dispatch(GSource* source, GSourceFunc callback, gpointer self);

    const std::function<void()> on_time_;
    GSource* const source_;
};

}  // namespace games
