#include "bus/connection.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "events/events_thread.h"

namespace {

struct BusSource {
    GSource base;
    BusConnection* connection;
};

const char* NameOf(BusConnection::Kind kind) {
    return kind == BusConnection::Kind::kSession ? "session bus" : "system bus";
}

// The socket's path in a D-Bus address; empty where it has none. Escaped characters do not occur in such paths.
std::string PathIn(const char* address) {
    static constexpr char kPrefix[] = "unix:path=";
    const std::string text(address);
    const size_t start = text.find(kPrefix);
    if (start == std::string::npos) {
        return {};
    }
    const size_t from = start + sizeof kPrefix - 1;
    return text.substr(from, text.find_first_of(",;", from) - from);
}

std::string SocketPath(BusConnection::Kind kind) {
    const bool isSession = kind == BusConnection::Kind::kSession;
    const char* address = std::getenv(isSession ? "DBUS_SESSION_BUS_ADDRESS" : "DBUS_SYSTEM_BUS_ADDRESS");
    if (address != nullptr && *address != '\0') {
        return PathIn(address);
    }
    if (!isSession) {
        return "/run/dbus/system_bus_socket";
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && *runtime == '/' ? std::string(runtime) + "/bus" : std::string();
}

}  // namespace

std::shared_ptr<BusConnection> BusConnection::Shared(GMainContext* context, Kind kind) {
    // A later events thread must not find an earlier one's.
    thread_local std::array<std::weak_ptr<BusConnection>, 2> all;
    std::weak_ptr<BusConnection>& known = all[static_cast<size_t>(kind)];
    std::shared_ptr<BusConnection> connection = known.lock();
    if (connection == nullptr) {
        connection = std::make_shared<BusConnection>(context, kind);
        known = connection;
    }
    return connection;
}

BusConnection::BusConnection(GMainContext* context, Kind kind)
    : context_(context), kind_(kind), comeback_(context, NameOf(kind), [this] { ConnectIfThere(); }) {
    ConnectIfThere();
}

BusConnection::~BusConnection() {
    Disconnect();
}

void BusConnection::Connect() {
    if (!LoadSdBus()) {
        Lose(ELIBACC);
        return;
    }
    const int result = kind_ == Kind::kSession ? SdBus().sd_bus_open_user(&bus_) : SdBus().sd_bus_open_system(&bus_);
    if (result < 0) {
        Lose(-result);
        return;
    }
    Attach();
    users_.ForEach([](User& user) { user.OnConnected(); });
}

// Much may happen in the socket's directory without the socket.
void BusConnection::ConnectIfThere() {
    const std::string path = SocketPath(kind_);
    if (path.empty() || access(path.c_str(), F_OK) == 0) {
        Connect();
    } else {
        Lose(ENOENT);
    }
}

void BusConnection::Disconnect() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(std::exchange(source_, nullptr));
    }
    if (bus_ != nullptr) {
        bus_ = SdBus().sd_bus_close_unref(bus_);
    }
}

void BusConnection::Lose(int error) {
    const bool wasOpen = bus_ != nullptr;
    Disconnect();
    comeback_.Gone(SocketPath(kind_), std::strerror(error));
    if (wasOpen) {
        users_.ForEach([](User& user) { user.OnLost(); });
    }
}

void BusConnection::Attach() {
    static GSourceFuncs functions = {Prepare, Check, Dispatch, nullptr, nullptr, nullptr};
    source_ = g_source_new(&functions, sizeof(BusSource));
    reinterpret_cast<BusSource*>(source_)->connection = this;
    polledFor_ = G_IO_IN;
    tag_ = g_source_add_unix_fd(source_, SdBus().sd_bus_get_fd(bus_), G_IO_IN);
    g_source_attach(source_, context_);
}

// Only a change is handed on: each one wakes the context, which would then never sleep.
void BusConnection::PollFor(int events) {
    if (events != polledFor_) {
        polledFor_ = events;
        g_source_modify_unix_fd(source_, tag_, static_cast<GIOCondition>(events));
    }
}

// Microseconds until sd-bus wants to work by itself; G_MAXINT64 for never.
gint64 BusConnection::TimeLeft() const {
    uint64_t deadline = 0;
    if (SdBus().sd_bus_get_timeout(bus_, &deadline) <= 0 || deadline == UINT64_MAX) {
        return G_MAXINT64;
    }
    return static_cast<gint64>(deadline) - g_get_monotonic_time();
}

gboolean BusConnection::Prepare(GSource* source, gint* timeout) {
    BusConnection& self = *reinterpret_cast<BusSource*>(source)->connection;
    const int events = SdBus().sd_bus_get_events(self.bus_);
    const gint64 left = self.TimeLeft();
    if (events < 0 || left <= 0) {
        return TRUE;
    }
    self.PollFor(events);
    *timeout = left == G_MAXINT64 ? -1 : static_cast<gint>(std::min<gint64>(left / 1000 + 1, G_MAXINT));
    return FALSE;
}

gboolean BusConnection::Check(GSource* source) {
    const BusConnection& self = *reinterpret_cast<BusSource*>(source)->connection;
    return g_source_query_unix_fd(source, self.tag_) != 0 || self.TimeLeft() <= 0 ? TRUE : FALSE;
}

// The last user may leave meanwhile.
gboolean BusConnection::Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    const std::shared_ptr<BusConnection> self = reinterpret_cast<BusSource*>(source)->connection->shared_from_this();
    DoWork([&] { self->Process(); });
    return G_SOURCE_CONTINUE;
}

void BusConnection::Process() {
    int result = 1;
    while (result > 0) {
        result = SdBus().sd_bus_process(bus_, nullptr);
    }
    if (result < 0 || SdBus().sd_bus_is_open(bus_) <= 0) {
        Lose(result < 0 ? -result : ECONNRESET);
    } else if (SdBus().sd_bus_is_ready(bus_) > 0) {
        comeback_.There();
    }
}
