#include "display/x11_connector.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "display/connect_lock.h"
#include "events/events_thread.h"
#include "locks/locks.h"

namespace {

constexpr unsigned kTimeLimitMs = 10000;
constexpr int kMostThreads = 4;

std::atomic<int> threads{0};

xcb_connection_t* ConnectAlone(const Xcb& xcb, const std::string& name, int& screen) {
    const Hold alone(xcbConnectLock);
    return xcb.xcb_connect(name.c_str(), &screen);
}

}  // namespace

X11Server::X11Server(const Xcb& xcb, const std::string& name)
    : xcb_(xcb), connection_(ConnectAlone(xcb, name, screen_)) {}

X11Server::~X11Server() {
    xcb_.xcb_disconnect(connection_);
}

std::unique_ptr<X11Server> X11Server::Connect(const Xcb& xcb, const std::string& name) {
    std::unique_ptr<X11Server> server(new X11Server(xcb, name));
    return server->Prepare() ? std::move(server) : nullptr;
}

bool X11Server::Prepare() {
    if (xcb_.xcb_connection_has_error(connection_) != 0 || !FindRoot()) {
        return false;
    }
    AskForExtensions();
    activeWindow_ = Atom("_NET_ACTIVE_WINDOW");
    windowPid_ = Atom("_NET_WM_PID");
    screensaverStatus_ = Atom("_SCREENSAVER_STATUS");
    return xcb_.xcb_connection_has_error(connection_) == 0;
}

bool X11Server::FindRoot() {
    xcb_screen_iterator_t screens = xcb_.xcb_setup_roots_iterator(xcb_.xcb_get_setup(connection_));
    for (int i = 0; i < screen_ && screens.rem > 1; ++i) {
        xcb_.xcb_screen_next(&screens);
    }
    root_ = screens.rem > 0 ? screens.data->root : xcb_window_t{XCB_WINDOW_NONE};
    return screens.rem > 0;
}

void X11Server::AskForExtensions() const {
    for (xcb_extension_t* extension : {xcb_.res, xcb_.screensaver, xcb_.dpms}) {
        if (extension != nullptr) {
            xcb_.xcb_get_extension_data(connection_, extension);
        }
    }
}

xcb_atom_t X11Server::Atom(const char* name) const {
    const xcb_intern_atom_cookie_t cookie =
        xcb_.xcb_intern_atom(connection_, /*only_if_exists=*/0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_.xcb_intern_atom_reply(connection_, cookie, nullptr);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

/// What the thread and its connector share. The thread's result is announced by `isDone` becoming readable.
struct X11Connector::Attempt {
    const Xcb& xcb;
    const std::string name;
    const int isDone = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    Lock lock;
    bool isForgotten GUARDED_BY(lock) = false;
    std::unique_ptr<X11Server> server GUARDED_BY(lock);

    Attempt(const Xcb& library, std::string displayName) : xcb(library), name(std::move(displayName)) {}
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() {
        if (isDone >= 0) {
            close(isDone);
        }
    }

    static void* Run(void* argument) {
        pthread_setname_np(pthread_self(), "platform-x11");
        {
            const std::unique_ptr<std::shared_ptr<Attempt>> self(static_cast<std::shared_ptr<Attempt>*>(argument));
            DoWork([&] { (*self)->Announce(X11Server::Connect((*self)->xcb, (*self)->name)); });
        }
        --threads;
        return nullptr;
    }

    void Announce(std::unique_ptr<X11Server> connected) {
        const Hold hold(lock);
        if (!isForgotten) {
            server = std::move(connected);
            eventfd_write(isDone, 1);
        }
    }

    std::unique_ptr<X11Server> Take() {
        const Hold hold(lock);
        return std::move(server);
    }
};

X11Connector::X11Connector(GMainContext* context, const Xcb& xcb, const std::string& name, DoneFunction onDone)
    : onDone_(std::move(onDone)) {
    const bool isStarted = Start(xcb, name);
    if (isStarted) {
        done_.WhenReadable(context, attempt_->isDone, [this] { Done(attempt_->Take()); });
    }
    timeLimit_.After(context, isStarted ? kTimeLimitMs : 0, [this] { Done(nullptr); });
}

// The thread inherits that all signals are blocked.
bool X11Connector::Start(const Xcb& xcb, const std::string& name) {
    if (threads >= kMostThreads) {
        return false;
    }
    attempt_ = std::make_shared<Attempt>(xcb, name);
    if (attempt_->isDone < 0) {
        return false;
    }
    auto argument = std::make_unique<std::shared_ptr<Attempt>>(attempt_);
    pthread_t thread{};
    ++threads;
    if (pthread_create(&thread, nullptr, Attempt::Run, argument.get()) != 0) {
        --threads;
        return false;
    }
    pthread_detach(thread);
    static_cast<void>(argument.release());  // the thread's now
    return true;
}

X11Connector::~X11Connector() {
    if (attempt_ != nullptr) {
        const Hold hold(attempt_->lock);
        attempt_->isForgotten = true;
        attempt_->server.reset();
    }
}

void X11Connector::Done(std::unique_ptr<X11Server> server) {
    timeLimit_.Stop();
    done_.Stop();
    const DoneFunction onDone = std::move(onDone_);
    onDone(std::move(server));
}
