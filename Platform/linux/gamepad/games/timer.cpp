#include "gamepad/games/timer.h"

#include <utility>

#include "events/events_thread.h"

namespace games {
namespace {

GSource* NewSource(gboolean (*dispatch)(GSource*, GSourceFunc, gpointer)) {
    static GSourceFuncs functions = {nullptr, nullptr, dispatch, nullptr, nullptr, nullptr};
    return g_source_new(&functions, sizeof(GSource));
}

}  // namespace

Timer::Timer(GMainContext* context, std::function<void()> on_time)
    : on_time_(std::move(on_time)), source_(NewSource(Dispatch)) {
    // GLib hands the data of the callback to Dispatch; the callback itself is not used, but must be there.
    g_source_set_callback(
        source_, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, this, nullptr);
    g_source_attach(source_, context);
}

Timer::~Timer() {
    g_source_destroy(source_);
    g_source_unref(source_);
}

gboolean Timer::Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer self) {
    g_source_set_ready_time(source, -1);
    DoWork([self] {
        const std::function<void()> on_time = static_cast<Timer*>(self)->on_time_;  // which may destroy the timer
        on_time();
    });
    return G_SOURCE_CONTINUE;
}

}  // namespace games
