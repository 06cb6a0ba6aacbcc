#include "aul/x11_display.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include "display/connect_lock.h"

namespace aul {
namespace {

constexpr unsigned kTimeLimitMs = 10000;
constexpr int kMostThreads = 4;

std::atomic<int> threads{0};

// Threads inherit the mask of signals of their maker.
bool StartDetached(void* (*entry)(void*), void* argument) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const bool isStarted = pthread_create(&thread, nullptr, entry, argument) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (isStarted) {
        pthread_detach(thread);
    }
    return isStarted;
}

xcb_connection_t* ConnectAlone(const XcbLibrary& xcb, const std::string& name, int& screen) {
    const std::lock_guard<std::mutex> alone(xcbConnectLock);
    return xcb.connect(name.c_str(), &screen);
}

}  // namespace

X11Display::X11Display(const XcbLibrary& xcb, const std::string& name)
    : xcb_(xcb), connection_(ConnectAlone(xcb, name, screen_)) {}

X11Display::~X11Display() {
    xcb_.disconnect(connection_);
}

std::unique_ptr<X11Display> X11Display::Connect(const XcbLibrary& xcb, const std::string& name) {
    std::unique_ptr<X11Display> display(new X11Display(xcb, name));
    return display->Prepare() ? std::move(display) : nullptr;
}

bool X11Display::Prepare() {
    if (xcb_.connectionHasError(connection_) != 0) {
        return false;
    }
    xcb_screen_iterator_t screens = xcb_.setupRootsIterator(xcb_.getSetup(connection_));
    while (screen_ > 0 && screens.rem > 1) {
        xcb_.screenNext(&screens);
        --screen_;
    }
    if (screens.rem == 0) {
        return false;
    }
    root_ = screens.data->root;
    activeWindow_ = Atom("_NET_ACTIVE_WINDOW");
    wmPid_ = Atom("_NET_WM_PID");
    const xcb_query_extension_reply_t* res =
        xcb_.res != nullptr ? xcb_.getExtensionData(connection_, xcb_.res) : nullptr;
    knowsClients_ = res != nullptr && res->present != 0;
    return xcb_.connectionHasError(connection_) == 0;
}

xcb_atom_t X11Display::Atom(const char* name) const {
    const xcb_intern_atom_cookie_t cookie =
        xcb_.internAtom(connection_, /*only_if_exists=*/0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_.internAtomReply(connection_, cookie, nullptr);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

/// What the thread and its connector share: once `connector` is null, nobody waits any more.
struct X11Connector::Attempt {
    std::mutex lock;
    X11Connector* connector;
    GMainContext* const context;
    const std::string name;
    std::unique_ptr<X11Display> display;

    Attempt(X11Connector* owner, GMainContext* ownersContext, std::string displayName)
        : connector(owner), context(g_main_context_ref(ownersContext)), name(std::move(displayName)) {}
    ~Attempt() { g_main_context_unref(context); }

    static void* Run(void* argument) {
        const std::unique_ptr<std::shared_ptr<Attempt>> self(static_cast<std::shared_ptr<Attempt>*>(argument));
        pthread_setname_np(pthread_self(), "platform-x11");
        const XcbLibrary* xcb = XcbLibrary::Get();
        (*self)->Hand(xcb != nullptr ? X11Display::Connect(*xcb, (*self)->name) : nullptr, *self);
        --threads;
        return nullptr;
    }

    void Hand(std::unique_ptr<X11Display> connected, const std::shared_ptr<Attempt>& self) {
        const std::lock_guard<std::mutex> hold(lock);
        if (connector == nullptr) {
            return;
        }
        display = std::move(connected);
        GSource* source = g_idle_source_new();
        g_source_set_priority(source, G_PRIORITY_DEFAULT);
        g_source_set_callback(source, Deliver, new std::shared_ptr<Attempt>(self),
                              [](gpointer data) { delete static_cast<std::shared_ptr<Attempt>*>(data); });
        g_source_attach(source, context);
        g_source_unref(source);
    }

    static gboolean Deliver(gpointer data) {
        const std::shared_ptr<Attempt> self = *static_cast<std::shared_ptr<Attempt>*>(data);
        X11Connector* connector = nullptr;
        {
            const std::lock_guard<std::mutex> hold(self->lock);
            connector = self->connector;
        }
        if (connector != nullptr) {
            connector->Done(std::move(self->display));
        }
        return G_SOURCE_REMOVE;
    }
};

X11Connector::X11Connector(GMainContext* context, const std::string& name, DoneFunction onDone)
    : onDone_(std::move(onDone)) {
    unsigned limit = 0;
    if (threads < kMostThreads) {
        attempt_ = std::make_shared<Attempt>(this, context, name);
        auto argument = std::make_unique<std::shared_ptr<Attempt>>(attempt_);
        ++threads;
        if (StartDetached(Attempt::Run, argument.get())) {
            argument.release();
            limit = kTimeLimitMs;
        } else {
            --threads;
        }
    }
    timeLimit_.After(context, limit, [this] { Done(nullptr); });
}

X11Connector::~X11Connector() {
    Forget();
}

void X11Connector::Forget() {
    if (attempt_ != nullptr) {
        const std::lock_guard<std::mutex> hold(attempt_->lock);
        attempt_->connector = nullptr;
    }
}

void X11Connector::Done(std::unique_ptr<X11Display> display) {
    timeLimit_.Stop();
    Forget();
    const DoneFunction onDone = std::move(onDone_);
    onDone(std::move(display));
}

}  // namespace aul
