#include "bus/bus.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "events/events_thread.h"

namespace {

constexpr uint64_t kReplyTimeoutUs = 5000000;
constexpr unsigned kFirstRetrySeconds = 1;
constexpr unsigned kLastRetrySeconds = 64;

struct BusSource {
    GSource base;
    Bus* bus;
};

const char* NameOf(Bus::Kind kind) {
    return kind == Bus::Kind::kSession ? "session bus" : "system bus";
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

std::string SocketPath(Bus::Kind kind) {
    const bool isSession = kind == Bus::Kind::kSession;
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

struct Bus::Name {
    Bus* bus;
    std::string name;
    std::string owner;
    std::list<OwnerFunction> onOwner;
    sd_bus_slot* match = nullptr;
    sd_bus_slot* question = nullptr;
};

struct Bus::Subscription {
    Bus* bus;
    Member signal;
    SignalFunction onSignal;
    sd_bus_slot* match = nullptr;
};

struct Bus::PendingCall {
    ReplyFunction onReply;
};

Bus::Bus(GMainContext* context, Kind kind)
    : context_(context), kind_(kind), presence_(NameOf(kind)), retrySeconds_(kFirstRetrySeconds) {
    Connect();
}

Bus::~Bus() {
    socketWatch_.reset();
    Disconnect();
}

bool Bus::Open() {
    const int result = kind_ == Kind::kSession ? sd_bus_open_user(&bus_) : sd_bus_open_system(&bus_);
    return result >= 0;
}

void Bus::Connect() {
    socketWatch_.reset();
    if (!Open()) {
        // Watched first and tried again then, so that a bus that comes in between is not missed.
        WaitForSocket();
        if (!Open()) {
            Lose("no connection");
            return;
        }
        socketWatch_.reset();
    }
    Attach();
    for (auto& name : names_) {
        Install(*name.second);
    }
    for (auto& subscription : subscriptions_) {
        Install(*subscription);
    }
}

// Much may happen in the socket's directory without the socket.
void Bus::ConnectIfThere() {
    const std::string path = SocketPath(kind_);
    if (path.empty() || access(path.c_str(), F_OK) == 0) {
        Connect();
        return;
    }
    retrySeconds_ = kFirstRetrySeconds;
    WaitForSocket();
}

void Bus::WaitForSocket() {
    socketWatch_ =
        std::make_unique<SocketWatch>(context_, SocketPath(kind_), retrySeconds_, [this] { ConnectIfThere(); });
    retrySeconds_ = std::min(2 * retrySeconds_, kLastRetrySeconds);
}

void Bus::Disconnect() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
    }
    for (auto& name : names_) {
        name.second->match = sd_bus_slot_unref(name.second->match);
        name.second->question = sd_bus_slot_unref(name.second->question);
    }
    for (auto& subscription : subscriptions_) {
        subscription->match = sd_bus_slot_unref(subscription->match);
    }
    bus_ = sd_bus_close_unref(bus_);
}

void Bus::Lose(const char* why) {
    Disconnect();
    isUp_ = false;
    presence_.Missing(why);
    for (auto& name : names_) {
        SetOwner(*name.second, {});
    }
    if (socketWatch_ == nullptr) {
        WaitForSocket();
    }
}

void Bus::Attach() {
    static GSourceFuncs functions = {Prepare, Check, Dispatch, nullptr, nullptr, nullptr};
    source_ = g_source_new(&functions, sizeof(BusSource));
    reinterpret_cast<BusSource*>(source_)->bus = this;
    polledFor_ = G_IO_IN;
    tag_ = g_source_add_unix_fd(source_, sd_bus_get_fd(bus_), G_IO_IN);
    g_source_attach(source_, context_);
}

// Only a change is handed on: each one wakes the context, which would then never sleep.
void Bus::PollFor(int events) {
    if (events != polledFor_) {
        polledFor_ = events;
        g_source_modify_unix_fd(source_, tag_, static_cast<GIOCondition>(events));
    }
}

// Microseconds until sd-bus wants to work by itself; G_MAXINT64 for never.
gint64 Bus::TimeLeft() const {
    uint64_t deadline = 0;
    if (sd_bus_get_timeout(bus_, &deadline) <= 0 || deadline == UINT64_MAX) {
        return G_MAXINT64;
    }
    return static_cast<gint64>(deadline) - g_get_monotonic_time();
}

gboolean Bus::Prepare(GSource* source, gint* timeout) {
    Bus& self = *reinterpret_cast<BusSource*>(source)->bus;
    const int events = sd_bus_get_events(self.bus_);
    const gint64 left = self.TimeLeft();
    if (events < 0 || left <= 0) {
        return TRUE;
    }
    self.PollFor(events);
    *timeout = left == G_MAXINT64 ? -1 : static_cast<gint>(std::min<gint64>(left / 1000 + 1, G_MAXINT));
    return FALSE;
}

gboolean Bus::Check(GSource* source) {
    const Bus& self = *reinterpret_cast<BusSource*>(source)->bus;
    return g_source_query_unix_fd(source, self.tag_) != 0 || self.TimeLeft() <= 0 ? TRUE : FALSE;
}

gboolean Bus::Dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    DoWork([source] { reinterpret_cast<BusSource*>(source)->bus->Process(); });
    return G_SOURCE_CONTINUE;
}

void Bus::Process() {
    int result = 1;
    while (result > 0) {
        result = sd_bus_process(bus_, nullptr);
    }
    if (result < 0 || sd_bus_is_open(bus_) <= 0) {
        Lose(std::strerror(result < 0 ? -result : ECONNRESET));
    } else if (!isUp_ && sd_bus_is_ready(bus_) > 0) {
        isUp_ = true;
        retrySeconds_ = kFirstRetrySeconds;
        presence_.There();
    }
}

void Bus::WatchName(const std::string& name, OwnerFunction onOwner) {
    std::unique_ptr<Name>& entry = names_[name];
    if (entry == nullptr) {
        entry = std::make_unique<Name>();
        entry->bus = this;
        entry->name = name;
        Install(*entry);
    }
    const bool isOwned = !entry->owner.empty();
    onOwner(isOwned);
    entry->onOwner.push_back(std::move(onOwner));
}

bool Bus::IsOwned(const std::string& name) const {
    return !OwnerOf(name).empty();
}

std::string Bus::OwnerOf(const std::string& name) const {
    const auto entry = names_.find(name);
    return entry == names_.end() ? std::string() : entry->second->owner;
}

std::string Bus::UniqueName() const {
    const char* name = nullptr;
    return bus_ != nullptr && sd_bus_get_unique_name(bus_, &name) >= 0 ? name : std::string();
}

// First the match, then the question: a change in between is seen twice rather than not at all.
void Bus::Install(Name& name) {
    if (bus_ == nullptr) {
        return;
    }
    const std::string match =
        "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg0='" +
        name.name + "'";
    sd_bus_add_match_async(bus_, &name.match, match.c_str(), OnOwnerChanged, nullptr, &name);
    AskOwner(name);
}

void Bus::AskOwner(Name& name) {
    sd_bus_call_method_async(bus_, &name.question, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus", "GetNameOwner", OnOwnerReply, &name, "s", name.name.c_str());
}

int Bus::OnOwnerChanged(sd_bus_message* message, void* name, sd_bus_error* /*error*/) {
    const char* changed = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (sd_bus_message_read(message, "sss", &changed, &before, &now) >= 0) {
        DoWork([name, now] { SetOwner(*static_cast<Name*>(name), now); });
    }
    return 0;
}

int Bus::OnOwnerReply(sd_bus_message* message, void* name, sd_bus_error* /*error*/) {
    const char* owner = nullptr;
    if (sd_bus_message_is_method_error(message, nullptr) == 0 && sd_bus_message_read(message, "s", &owner) >= 0) {
        DoWork([name, owner] { SetOwner(*static_cast<Name*>(name), owner); });
    }
    return 0;
}

void Bus::SetOwner(Name& name, const std::string& owner) {
    if (name.owner == owner) {
        return;
    }
    if (!name.owner.empty()) {
        name.owner.clear();
        for (const OwnerFunction& onOwner : name.onOwner) {
            onOwner(false);
        }
    }
    name.owner = owner;
    if (!owner.empty()) {
        for (const OwnerFunction& onOwner : name.onOwner) {
            onOwner(true);
        }
    }
}

void Bus::Subscribe(const Member& signal, SignalFunction onSignal) {
    subscriptions_.push_back(std::make_unique<Subscription>());
    Subscription& subscription = *subscriptions_.back();
    subscription.bus = this;
    subscription.signal = signal;
    subscription.onSignal = std::move(onSignal);
    Install(subscription);
}

void Bus::Install(Subscription& subscription) {
    if (bus_ == nullptr) {
        return;
    }
    const Member& signal = subscription.signal;
    std::string match = "type='signal',sender='" + signal.name + "',interface='" + signal.interface + "',member='" +
                        signal.member + "'";
    if (!signal.path.empty()) {
        match += ",path='" + signal.path + "'";
    }
    sd_bus_add_match_async(bus_, &subscription.match, match.c_str(), OnSignal, nullptr, &subscription);
}

// Anybody on the bus may send a signal to us directly, past the bus's own check of the sender.
int Bus::OnSignal(sd_bus_message* message, void* subscription, sd_bus_error* /*error*/) {
    const auto& self = *static_cast<Subscription*>(subscription);
    const char* sender = sd_bus_message_get_sender(message);
    if (sender != nullptr && self.bus->OwnerOf(self.signal.name) == sender) {
        DoWork([&] { self.onSignal(message); });
    }
    return 0;
}

sd_bus_message* Bus::NewCall(const Member& method, const FillFunction& fill) {
    sd_bus_message* call = nullptr;
    if (bus_ == nullptr || sd_bus_message_new_method_call(bus_, &call, method.name.c_str(), method.path.c_str(),
                                                          method.interface.c_str(), method.member.c_str()) < 0) {
        return nullptr;
    }
    sd_bus_message_set_auto_start(call, 0);
    if (fill && fill(call) < 0) {
        return sd_bus_message_unref(call);
    }
    return call;
}

bool Bus::Call(const Member& method, const FillFunction& fill, ReplyFunction onReply) {
    sd_bus_message* call = NewCall(method, fill);
    if (call == nullptr) {
        return false;
    }
    sd_bus_slot* slot = nullptr;
    auto pending = std::make_unique<PendingCall>();
    pending->onReply = std::move(onReply);
    const int result = sd_bus_call_async(bus_, &slot, call, OnReply, pending.get(), kReplyTimeoutUs);
    sd_bus_message_unref(call);
    if (result < 0) {
        return false;
    }
    // The slot lives until the reply, or until the connection goes, and takes the call's data with it.
    sd_bus_slot_set_destroy_callback(slot, DeletePendingCall);
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    static_cast<void>(pending.release());
    return true;
}

int Bus::OnReply(sd_bus_message* message, void* call, sd_bus_error* /*error*/) {
    auto& pending = *static_cast<PendingCall*>(call);
    const ReplyFunction onReply = std::move(pending.onReply);
    pending.onReply = nullptr;
    DoWork([&] { onReply(sd_bus_message_is_method_error(message, nullptr) != 0 ? nullptr : message); });
    return 0;
}

void Bus::DeletePendingCall(void* call) {
    const std::unique_ptr<PendingCall> pending(static_cast<PendingCall*>(call));
    if (pending->onReply) {
        DoWork([&] { pending->onReply(nullptr); });
    }
}

bool Bus::CallWithoutReply(const Member& method, const FillFunction& fill) {
    sd_bus_message* call = NewCall(method, fill);
    if (call == nullptr) {
        return false;
    }
    sd_bus_message_set_expect_reply(call, 0);
    const bool sent = sd_bus_send(bus_, call, nullptr) >= 0;
    sd_bus_message_unref(call);
    return sent;
}
