#include "aul/x11_display.h"

#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

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

/// What the thread and its connector share. The thread's result is announced by `isDone` becoming readable.
struct X11Connector::Attempt {
    const XcbLibrary& xcb;
    const std::string name;
    const int isDone = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::mutex lock;
    bool isForgotten = false;
    std::unique_ptr<X11Display> display;

    Attempt(const XcbLibrary& library, std::string displayName) : xcb(library), name(std::move(displayName)) {}
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
            (*self)->Announce(X11Display::Connect((*self)->xcb, (*self)->name));
        }
        --threads;
        return nullptr;
    }

    void Announce(std::unique_ptr<X11Display> connected) {
        const std::lock_guard<std::mutex> hold(lock);
        if (!isForgotten) {
            display = std::move(connected);
            eventfd_write(isDone, 1);
        }
    }

    std::unique_ptr<X11Display> Take() {
        const std::lock_guard<std::mutex> hold(lock);
        return std::move(display);
    }
};

X11Connector::X11Connector(GMainContext* context, const std::string& name, DoneFunction onDone)
    : onDone_(std::move(onDone)) {
    const bool isStarted = Start(name);
    if (isStarted) {
        done_.WhenReadable(context, attempt_->isDone, [this] { Done(attempt_->Take()); });
    }
    timeLimit_.After(context, isStarted ? kTimeLimitMs : 0, [this] { Done(nullptr); });
}

bool X11Connector::Start(const std::string& name) {
    const XcbLibrary* xcb = XcbLibrary::Get();
    if (xcb == nullptr || threads >= kMostThreads) {
        return false;
    }
    attempt_ = std::make_shared<Attempt>(*xcb, name);
    if (attempt_->isDone < 0) {
        return false;
    }
    auto argument = std::make_unique<std::shared_ptr<Attempt>>(attempt_);
    ++threads;
    if (!StartDetached(Attempt::Run, argument.get())) {
        --threads;
        return false;
    }
    static_cast<void>(argument.release());  // the thread's now
    return true;
}

X11Connector::~X11Connector() {
    if (attempt_ != nullptr) {
        const std::lock_guard<std::mutex> hold(attempt_->lock);
        attempt_->isForgotten = true;
        attempt_->display.reset();
    }
}

void X11Connector::Done(std::unique_ptr<X11Display> display) {
    timeLimit_.Stop();
    done_.Stop();
    const DoneFunction onDone = std::move(onDone_);
    onDone(std::move(display));
}

}  // namespace aul
