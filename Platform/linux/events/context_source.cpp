#include "events/context_source.h"

#include <glib-unix.h>

#include <utility>

#include "events/events_thread.h"

struct ContextSource::Work {
    ContextSource* owner;
    std::function<void()> run;
};

void ContextSource::WhenReadable(GMainContext* context, int fd, std::function<void()> work) {
    Attach(context, g_unix_fd_source_new(fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR)),
           G_SOURCE_FUNC(OnReadable), std::move(work));
}

void ContextSource::After(GMainContext* context, unsigned milliseconds, std::function<void()> work) {
    Attach(context, g_timeout_source_new(milliseconds), OnTime, std::move(work));
}

// GLib keeps the work while it runs, even when it stops its own source.
void ContextSource::Attach(GMainContext* context, GSource* source, GSourceFunc function, std::function<void()> work) {
    Stop();
    source_ = source;
    g_source_set_callback(source_, function, new Work{this, std::move(work)},
                          [](gpointer data) { delete static_cast<Work*>(data); });
    g_source_attach(source_, context);
}

void ContextSource::Stop() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(std::exchange(source_, nullptr));
    }
}

gboolean ContextSource::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer work) {
    DoWork(static_cast<Work*>(work)->run);
    return G_SOURCE_CONTINUE;
}

gboolean ContextSource::OnTime(gpointer work) {
    auto& self = *static_cast<Work*>(work);
    self.owner->Stop();
    DoWork(self.run);
    return G_SOURCE_REMOVE;
}
