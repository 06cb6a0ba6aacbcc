#include "display/x11_display.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "display/connect_lock.h"
#include "platform/dlog.h"

namespace {

constexpr unsigned kFirstRetrySeconds = 1;
constexpr unsigned kLastRetrySeconds = 64;

using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Empty for a display on another machine.
std::string SocketPath(const std::string& display) {
    const size_t colon = display.find(':');
    const bool isLocal = colon == 0 || display.compare(0, colon, "unix") == 0;
    if (colon == std::string::npos || !isLocal) {
        return {};
    }
    const std::string number = display.substr(colon + 1, display.find('.', colon) - colon - 1);
    return "/tmp/.X11-unix/X" + number;
}

// Of the first screen; none without a connection, and on a server that has no screen.
xcb_window_t RootOf(const Xcb& xcb, xcb_connection_t* connection) {
    if (xcb.xcb_connection_has_error(connection) != 0) {
        return XCB_WINDOW_NONE;
    }
    const xcb_screen_iterator_t screens = xcb.xcb_setup_roots_iterator(xcb.xcb_get_setup(connection));
    return screens.rem > 0 ? screens.data->root : xcb_window_t{XCB_WINDOW_NONE};
}

}  // namespace

struct X11Display::Source {
    GSource base;
    X11Display* display;
};

/// One try to connect, by a thread that may hang for as long as the server does.
struct X11Display::Attempt {
    ~Attempt() {
        if (connection != nullptr) {
            xcb->xcb_disconnect(connection);
        }
    }
    const Xcb* xcb = nullptr;
    std::string name;
    xcb_connection_t* connection = nullptr;
    X11Display* display = nullptr;  ///< who waits for it, null for nobody; only the context's thread looks
    std::mutex lock;
    GMainContext* context = nullptr;  ///< where it is waited for; null when it is not any more
};

X11Display::X11Display(GMainContext* context, const char* purpose, Handlers handlers)
    : context_(context),
      purpose_(purpose),
      handlers_(std::move(handlers)),
      presence_("X display " + Variable("DISPLAY")),
      retrySeconds_(kFirstRetrySeconds) {}

void X11Display::Start() {
    if (!IsOffered()) {
        return;
    }
    xcb_ = LoadXcb();
    if (xcb_ == nullptr) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "%s: libxcb, libxcb-screensaver or libxcb-dpms is not installed; the X display is not used",
                     purpose_.c_str());
        return;
    }
    Connect();
}

X11Display::~X11Display() {
    serverWatch_.reset();
    if (attempt_ != nullptr) {
        attempt_->display = nullptr;
        const std::lock_guard<std::mutex> lock(attempt_->lock);
        attempt_->context = nullptr;
    }
    Close();
}

bool X11Display::IsOffered() {
    return Variable("WAYLAND_DISPLAY").empty() && !Variable("DISPLAY").empty();
}

// Watched while it is tried, so that a server that comes in between is not missed.
void X11Display::Connect() {
    WaitForServer();
    TryOnce();
}

void X11Display::TryOnce() {
    mustTryAgain_ = attempt_ != nullptr;
    if (mustTryAgain_) {
        return;
    }
    attempt_ = std::make_shared<Attempt>();
    attempt_->xcb = xcb_;
    attempt_->name = Variable("DISPLAY");
    attempt_->context = context_;
    attempt_->display = this;
    auto* share = new std::shared_ptr<Attempt>(attempt_);
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, RunAttempt, share) != 0) {
        delete share;
        attempt_.reset();
        Lose();
        return;
    }
    pthread_detach(thread);
}

// Extensions are asked for here too, because that waits as well; the answers are kept with the connection.
void* X11Display::RunAttempt(void* share) {
    const std::shared_ptr<Attempt> attempt = *static_cast<std::shared_ptr<Attempt>*>(share);
    ForgetAttempt(share);
    {
        const std::lock_guard<std::mutex> alone(xcbConnectLock);
        attempt->connection = attempt->xcb->xcb_connect(attempt->name.c_str(), nullptr);
    }
    if (attempt->xcb->xcb_connection_has_error(attempt->connection) == 0) {
        attempt->xcb->xcb_get_extension_data(attempt->connection, attempt->xcb->screensaver);
        attempt->xcb->xcb_get_extension_data(attempt->connection, attempt->xcb->dpms);
    }
    const std::lock_guard<std::mutex> lock(attempt->lock);
    if (attempt->context != nullptr) {
        GSource* done = g_idle_source_new();
        g_source_set_priority(done, G_PRIORITY_DEFAULT);
        g_source_set_callback(done, FinishAttempt, new std::shared_ptr<Attempt>(attempt), ForgetAttempt);
        g_source_attach(done, attempt->context);
        g_source_unref(done);
    }
    return nullptr;
}

void X11Display::ForgetAttempt(gpointer share) {
    delete static_cast<std::shared_ptr<Attempt>*>(share);
}

gboolean X11Display::FinishAttempt(gpointer share) {
    const std::shared_ptr<Attempt> attempt = *static_cast<std::shared_ptr<Attempt>*>(share);
    if (attempt->display != nullptr) {
        attempt->display->attempt_.reset();
        attempt->display->OnAttempt(std::exchange(attempt->connection, nullptr));
    }
    return G_SOURCE_REMOVE;
}

void X11Display::OnAttempt(xcb_connection_t* connection) {
    connection_ = connection;
    root_ = RootOf(*xcb_, connection_);
    if (root_ == XCB_WINDOW_NONE) {
        Lose();
        if (mustTryAgain_) {
            TryOnce();
        }
        return;
    }
    serverWatch_.reset();
    retrySeconds_ = kFirstRetrySeconds;
    Attach();
    presence_.There();
    isUp_ = true;
    handlers_.onUp();
}

// Much may happen in the socket's directory without the socket, and that is no reason to wait longer when it comes.
void X11Display::TryAgain() {
    const std::string path = SocketPath(Variable("DISPLAY"));
    if (!path.empty() && access(path.c_str(), F_OK) != 0) {
        retrySeconds_ = kFirstRetrySeconds;
    }
    Connect();
}

void X11Display::WaitForServer() {
    serverWatch_ =
        std::make_unique<SocketWatch>(context_, SocketPath(Variable("DISPLAY")), retrySeconds_, [this] { TryAgain(); });
    retrySeconds_ = std::min(2 * retrySeconds_, kLastRetrySeconds);
}

void X11Display::Attach() {
    static GSourceFuncs functions = {Prepare, Check, Dispatch, nullptr, nullptr, nullptr};
    source_ = g_source_new(&functions, sizeof(Source));
    reinterpret_cast<Source*>(source_)->display = this;
    tag_ = g_source_add_unix_fd(source_, xcb_->xcb_get_file_descriptor(connection_), G_IO_IN);
    g_source_attach(source_, context_);
}

void X11Display::Close() {
    questions_.clear();
    isUp_ = false;
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
    }
    if (connection_ != nullptr) {
        xcb_->xcb_disconnect(std::exchange(connection_, nullptr));
    }
}

void X11Display::Lose() {
    const bool wasUp = IsUp();
    Close();
    presence_.Missing("no connection");
    if (wasUp) {
        handlers_.onDown();
    }
    if (serverWatch_ == nullptr) {
        WaitForServer();
    }
}

const xcb_query_extension_reply_t* X11Display::Extension(xcb_extension_t* extension) {
    const xcb_query_extension_reply_t* reply = xcb_->xcb_get_extension_data(connection_, extension);
    mayHaveRead_ = true;
    return reply != nullptr && reply->present != 0 ? reply : nullptr;
}

void X11Display::Await(unsigned sequence, ReplyFunction onReply) {
    questions_.push_back({sequence, std::move(onReply)});
    mayHaveRead_ = true;
}

// Waiting for an extension reads from the server, events and replies too: those make no descriptor readable any more.
gboolean X11Display::Prepare(GSource* source, gint* timeout) {
    X11Display& self = *reinterpret_cast<Source*>(source)->display;
    self.xcb_->xcb_flush(self.connection_);
    *timeout = -1;
    return std::exchange(self.mayHaveRead_, false) ? TRUE : FALSE;
}

gboolean X11Display::Check(GSource* source) {
    return g_source_query_unix_fd(source, reinterpret_cast<Source*>(source)->display->tag_) != 0 ? TRUE : FALSE;
}

gboolean X11Display::Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    reinterpret_cast<Source*>(source)->display->Process();
    return G_SOURCE_CONTINUE;
}

bool X11Display::AnswerOne() {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (questions_.empty() || xcb_->xcb_poll_for_reply(connection_, questions_.front().sequence, &reply, &error) == 0) {
        return false;
    }
    const std::unique_ptr<void, decltype(&std::free)> freeReply(reply, std::free);
    const std::unique_ptr<void, decltype(&std::free)> freeError(error, std::free);
    const ReplyFunction onReply = std::move(questions_.front().onReply);
    questions_.pop_front();
    onReply(reply);
    return true;
}

void X11Display::Process() {
    for (;;) {
        const Event event(xcb_->xcb_poll_for_event(connection_), std::free);
        if (event != nullptr) {
            handlers_.onEvent(*event);
        } else if (!AnswerOne()) {
            break;
        }
    }
    if (xcb_->xcb_connection_has_error(connection_) != 0) {
        Lose();
    }
}
