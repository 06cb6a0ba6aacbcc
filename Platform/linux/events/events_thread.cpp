#include "events/events_thread.h"

#include <pthread.h>
#include <signal.h>

#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

/// The thread and what it works on. Owned by the shares; the context also by the thread while it runs.
struct Thread {
    GMainContext* context;
    GMainLoop* loop;
    pthread_t id;
};

std::mutex shareLock;
int shares = 0;
Thread thread;

void* RunLoop(void* argument) {
    auto* loop = static_cast<GMainLoop*>(argument);
    GMainContext* context = g_main_loop_get_context(loop);
    pthread_setname_np(pthread_self(), "platform-events");
    g_main_context_push_thread_default(context);
    g_main_loop_run(loop);
    g_main_context_pop_thread_default(context);
    g_main_loop_unref(loop);
    return nullptr;
}

// Threads inherit the mask of signals of their maker.
bool StartWithoutSignals(pthread_t& id, GMainLoop* loop) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int result = pthread_create(&id, nullptr, RunLoop, g_main_loop_ref(loop));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (result != 0) {
        g_main_loop_unref(loop);
    }
    return result == 0;
}

bool Start() {
    thread.context = g_main_context_new();
    thread.loop = g_main_loop_new(thread.context, FALSE);
    if (StartWithoutSignals(thread.id, thread.loop)) {
        return true;
    }
    g_main_loop_unref(thread.loop);
    g_main_context_unref(thread.context);
    return false;
}

gboolean QuitLoop(gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
}

gboolean RunPosted(gpointer work) {
    (*static_cast<std::function<void()>*>(work))();
    return G_SOURCE_REMOVE;
}

void DeletePosted(gpointer work) {
    delete static_cast<std::function<void()>*>(work);
}

void Attach(GMainContext* context, GSourceFunc function, gpointer data, GDestroyNotify destroy) {
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, function, data, destroy);
    g_source_attach(source, context);
    g_source_unref(source);
}

// The loop is asked to end by a source of its own, since a loop that does not run yet forgets a direct request.
void Stop(const Thread& ended) {
    Attach(ended.context, QuitLoop, ended.loop, nullptr);
    if (pthread_equal(ended.id, pthread_self()) != 0) {
        pthread_detach(ended.id);
    } else {
        pthread_join(ended.id, nullptr);
    }
    g_main_loop_unref(ended.loop);
    g_main_context_unref(ended.context);
}

}  // namespace

EventsThread::EventsThread() : context_(nullptr) {
    const std::lock_guard<std::mutex> lock(shareLock);
    if (shares > 0 || Start()) {
        ++shares;
        context_ = thread.context;
    }
}

EventsThread::~EventsThread() {
    Thread ended{};
    {
        const std::lock_guard<std::mutex> lock(shareLock);
        if (context_ == nullptr || --shares > 0) {
            return;
        }
        ended = thread;
    }
    // Without the lock: what still runs on the thread may want a share.
    Stop(ended);
}

bool EventsThread::Post(std::function<void()> work) const {
    if (context_ == nullptr) {
        return false;
    }
    Attach(context_, RunPosted, new std::function<void()>(std::move(work)), DeletePosted);
    return true;
}

bool EventsThread::Run(const std::function<void()>& work) const {
    if (context_ == nullptr) {
        return false;
    }
    if (g_main_context_is_owner(context_) != 0) {
        work();
        return true;
    }
    std::mutex lock;
    std::condition_variable isDone;
    bool done = false;
    Post([&] {
        work();
        const std::lock_guard<std::mutex> guard(lock);
        done = true;
        isDone.notify_one();
    });
    std::unique_lock<std::mutex> guard(lock);
    isDone.wait(guard, [&] { return done; });
    return true;
}
