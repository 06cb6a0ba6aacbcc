#include "events/events_thread.h"

#include <platform/dlog.h>
#include <pthread.h>
#include <signal.h>

#include <condition_variable>
#include <deque>
#include <exception>
#include <thread>
#include <utility>

#include "locks/locks.h"

// Work that finds no memory is given up where it is.
void DoWork(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& problem) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "events: %s; notices may be missing", problem.what());
    }
}

namespace platform_events {

/// Work that waits to be run, as a source of the thread's context.
class WorkQueue {
public:
    /// The source lives until the context lets it go.
    static WorkQueue& Attach(GMainContext* context) {
        static GSourceFuncs functions = {Prepare, Check, Dispatch, Finalize, nullptr, nullptr};
        GSource* source = g_source_new(&functions, sizeof(QueueSource));
        auto* queue = new WorkQueue(context);
        reinterpret_cast<QueueSource*>(source)->queue = queue;
        g_source_attach(source, context);
        g_source_unref(source);
        return *queue;
    }

    void Add(std::function<void()> work) {
        {
            const Hold lock(lock_);
            works_.push_back(std::move(work));
        }
        g_main_context_wakeup(context_);
    }

private:
    struct QueueSource {
        GSource base;
        WorkQueue* queue;
    };

    explicit WorkQueue(GMainContext* context) : context_(context) {}

    static WorkQueue& Of(GSource* source) { return *reinterpret_cast<QueueSource*>(source)->queue; }

    bool HasWork() {
        const Hold lock(lock_);
        return !works_.empty();
    }

    // One at a time, so that other sources have their turn and a work may end the loop.
    void RunNext() {
        std::function<void()> work;
        {
            const Hold lock(lock_);
            work = std::move(works_.front());
            works_.pop_front();
        }
        DoWork(work);
    }

    static gboolean Prepare(GSource* source, gint* timeout) {
        *timeout = -1;
        return Of(source).HasWork() ? TRUE : FALSE;
    }
    static gboolean Check(GSource* source) { return Of(source).HasWork() ? TRUE : FALSE; }
    static gboolean Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
        Of(source).RunNext();
        return G_SOURCE_CONTINUE;
    }
    static void Finalize(GSource* source) { delete &Of(source); }

    GMainContext* context_;
    Lock lock_;
    std::deque<std::function<void()>> works_ GUARDED_BY(lock_);
};

}  // namespace platform_events

namespace {

using platform_events::WorkQueue;

/// The thread and what it works on.
struct Thread {
    GMainContext* context;
    GMainLoop* loop;
    WorkQueue* queue;
    pthread_t id;
};

Lock shareLock;
int shares GUARDED_BY(shareLock) = 0;
Thread thread GUARDED_BY(shareLock);

void* RunLoop(void* argument) {
    auto* loop = static_cast<GMainLoop*>(argument);
    GMainContext* context = g_main_loop_get_context(loop);
    pthread_setname_np(pthread_self(), "platform-events");
    g_main_context_push_thread_default(context);
    g_main_loop_run(loop);
    g_main_context_pop_thread_default(context);
    return nullptr;
}

// Threads inherit the mask of signals of their maker.
bool StartWithoutSignals(pthread_t& id, GMainLoop* loop) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int result = pthread_create(&id, nullptr, RunLoop, loop);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return result == 0;
}

void Release(const Thread& ended) {
    g_main_loop_unref(ended.loop);
    g_main_context_unref(ended.context);
}

bool StartLocked() REQUIRES(shareLock) {
    thread.context = g_main_context_new();
    thread.loop = g_main_loop_new(thread.context, FALSE);
    thread.queue = &WorkQueue::Attach(thread.context);
    if (StartWithoutSignals(thread.id, thread.loop)) {
        return true;
    }
    Release(thread);
    return false;
}

// The loop is ended by a work of its own, since a loop that does not run yet forgets a direct request. A thread that
// gives up the last share on itself cannot wait for its own end: what it runs on is released by somebody else, after
// it.
void Stop(const Thread& ended) {
    ended.queue->Add([loop = ended.loop] { g_main_loop_quit(loop); });
    if (pthread_equal(ended.id, pthread_self()) != 0) {
        std::thread([ended] {
            pthread_join(ended.id, nullptr);
            Release(ended);
        }).detach();
        return;
    }
    pthread_join(ended.id, nullptr);
    Release(ended);
}

}  // namespace

EventsThread::EventsThread() : context_(nullptr), queue_(nullptr) {
    const Hold lock(shareLock);
    if (shares > 0 || StartLocked()) {
        ++shares;
        context_ = thread.context;
        queue_ = thread.queue;
    }
}

EventsThread::~EventsThread() {
    Thread ended{};
    {
        const Hold lock(shareLock);
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
    queue_->Add(std::move(work));
    return true;
}

bool EventsThread::Run(const std::function<void()>& work) const {
    if (context_ == nullptr) {
        return false;
    }
    if (g_main_context_is_owner(context_) != 0) {
        DoWork(work);
        return true;
    }
    // Destructors run work too, so what is posted is small enough to need no memory of its own.
    struct {
        const std::function<void()>& work;
        Lock lock;
        std::condition_variable isDone;
        bool done GUARDED_BY(lock) = false;
    } call{work, {}, {}};
    Post([&call] {
        DoWork(call.work);
        const Hold guard(call.lock);
        call.done = true;
        call.isDone.notify_one();
    });
    Hold guard(call.lock);
    call.isDone.wait(guard.Waiting(), [&call]() REQUIRES(call.lock) { return call.done; });
    return true;
}
