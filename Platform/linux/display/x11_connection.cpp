#include "display/x11_connection.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "events/events_thread.h"

namespace {

std::string DisplayName() {
    const char* name = std::getenv("DISPLAY");
    return name == nullptr ? "" : name;
}

// Empty for a display on another machine.
std::string SocketPath(const std::string& display) {
    const size_t colon = display.rfind(':');
    const std::string host = display.substr(0, colon);
    if (colon == std::string::npos || (!host.empty() && host != "unix")) {
        return {};
    }
    return "/tmp/.X11-unix/X" + display.substr(colon + 1, display.find('.', colon) - colon - 1);
}

}  // namespace

struct X11Connection::Source {
    GSource base;
    X11Connection* connection;
};

std::shared_ptr<X11Connection> X11Connection::Shared(GMainContext* context) {
    thread_local std::weak_ptr<X11Connection> known;  // a later events thread must not find an earlier one's
    std::shared_ptr<X11Connection> connection = known.lock();
    if (connection == nullptr) {
        connection = std::make_shared<X11Connection>(context);
        known = connection;
    }
    return connection;
}

X11Connection::X11Connection(GMainContext* context)
    : context_(context),
      name_(DisplayName()),
      xcb_(LoadXcb()),
      comeback_(context, "X display " + name_, [this] { ConnectIfThere(); }) {
    if (xcb_ != nullptr) {
        Connect();
    }
}

X11Connection::~X11Connection() {
    Close();
}

void X11Connection::Connect() {
    connector_ = std::make_unique<X11Connector>(
        context_, *xcb_, name_, [this](std::unique_ptr<X11Server> server) { Connected(std::move(server)); });
}

// Much may happen in the socket's directory without the socket, and connecting takes a thread.
void X11Connection::ConnectIfThere() {
    const std::string path = SocketPath(name_);
    if (path.empty() || access(path.c_str(), F_OK) == 0) {
        Connect();
    } else {
        Lose("no connection");
    }
}

// Users need not be asked who wants to hear of the root window's properties: most do.
void X11Connection::Connected(std::unique_ptr<X11Server> server) {
    const std::shared_ptr<X11Connection> self = shared_from_this();
    connector_.reset();
    if (server == nullptr) {
        Lose("no connection");
        return;
    }
    server_ = std::move(server);
    Attach();
    comeback_.There();
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_->xcb_change_window_attributes(Use()->Connection(), server_->Root(), XCB_CW_EVENT_MASK, &events);
    users_.ForEach([](User& user) { user.OnConnected(); });
}

void X11Connection::Attach() {
    static GSourceFuncs functions = {Prepare, Check, Dispatch, nullptr, nullptr, nullptr};
    source_ = g_source_new(&functions, sizeof(Source));
    reinterpret_cast<Source*>(source_)->connection = this;
    tag_ = g_source_add_unix_fd(source_, xcb_->xcb_get_file_descriptor(server_->Connection()), G_IO_IN);
    g_source_attach(source_, context_);
}

void X11Connection::Close() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(std::exchange(source_, nullptr));
    }
    server_.reset();
}

void X11Connection::Lose(const char* why) {
    const bool wasUp = IsUp();
    Close();
    comeback_.Gone(SocketPath(name_), why);
    if (wasUp) {
        users_.ForEach([](User& user) { user.OnLost(); });
    }
}

const X11Server* X11Connection::Use() {
    mayHaveRead_ = true;
    return server_.get();
}

// Whatever talks to the server may read what comes from it meanwhile, which then makes no descriptor readable any more.
gboolean X11Connection::Prepare(GSource* source, gint* timeout) {
    X11Connection& self = *reinterpret_cast<Source*>(source)->connection;
    self.xcb_->xcb_flush(self.server_->Connection());
    *timeout = -1;
    return std::exchange(self.mayHaveRead_, false) ? TRUE : FALSE;
}

gboolean X11Connection::Check(GSource* source) {
    return g_source_query_unix_fd(source, reinterpret_cast<Source*>(source)->connection->tag_) != 0 ? TRUE : FALSE;
}

// The last user may leave meanwhile.
gboolean X11Connection::Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    const std::shared_ptr<X11Connection> self = reinterpret_cast<Source*>(source)->connection->shared_from_this();
    DoWork([&] { self->Process(); });
    return G_SOURCE_CONTINUE;
}

// False when there was none.
bool X11Connection::TakeReplies(const xcb_generic_event_t* event) {
    bool isAny = false;
    users_.ForEach([&](User& user) { isAny = user.TakeReply(server_->Connection(), event) || isAny; });
    return isAny;
}

// The library keeps replies and events apart; a state that was asked for must not be taken for newer than the notice of
// its change.
bool X11Connection::TakeOne() {
    const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
        xcb_->xcb_poll_for_event(server_->Connection()), std::free);
    if (event == nullptr) {
        return TakeReplies(nullptr);
    }
    while (TakeReplies(event.get())) {
    }
    users_.ForEach([&](User& user) { user.OnEvent(*event); });
    return true;
}

void X11Connection::Process() {
    while (TakeOne()) {
    }
    if (xcb_->xcb_connection_has_error(server_->Connection()) != 0) {
        Lose("it ended");
    }
}
