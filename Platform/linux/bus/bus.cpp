#include "bus/bus.h"

#include <iterator>
#include <utility>

#include "events/events_thread.h"

namespace {

constexpr uint64_t kReplyTimeoutUs = 5000000;

/// What the bus is to tell, until this ends.
class Slot {
public:
    Slot() = default;
    ~Slot() { Drop(); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    void Drop() {
        if (slot_ != nullptr) {
            slot_ = SdBus().sd_bus_slot_unref(slot_);
        }
    }
    /// For a function that fills it.
    sd_bus_slot** Fill() {
        Drop();
        return &slot_;
    }

private:
    sd_bus_slot* slot_ = nullptr;
};

}  // namespace

struct Bus::Name {
    std::string name;
    std::string owner;
    std::list<OwnerFunction> onOwner;
    Slot match;
    Slot question;
};

struct Bus::Subscription {
    Bus* bus;
    Member signal;
    SignalFunction onSignal;
    Slot match;
};

struct Bus::PendingCall {
    PendingCalls& all;
    PendingCalls::iterator self;
    ReplyFunction onReply;
    Slot slot;
};

Bus::Bus(GMainContext* context, Kind kind) : connection_(BusConnection::Shared(context, kind)) {
    connection_->Join(*this);
}

Bus::~Bus() {
    connection_->Leave(*this);
}

void Bus::OnConnected() {
    for (auto& name : names_) {
        Install(*name.second);
    }
    for (auto& subscription : subscriptions_) {
        Install(*subscription);
    }
}

void Bus::OnLost() {
    for (auto& name : names_) {
        name.second->match.Drop();
        name.second->question.Drop();
    }
    for (auto& subscription : subscriptions_) {
        subscription->match.Drop();
    }
    const PendingCalls open = std::move(calls_);
    calls_.clear();
    for (const auto& call : open) {
        call->slot.Drop();
        DoWork([&] { call->onReply(nullptr); });
    }
    for (auto& name : names_) {
        SetOwner(*name.second, {});
    }
}

void Bus::WatchName(const std::string& name, OwnerFunction onOwner) {
    std::unique_ptr<Name>& entry = names_[name];
    if (entry == nullptr) {
        entry = std::make_unique<Name>();
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
    sd_bus* bus = connection_->Handle();
    return bus != nullptr && SdBus().sd_bus_get_unique_name(bus, &name) >= 0 ? name : std::string();
}

// First the match, then the question: a change in between is seen twice rather than not at all.
void Bus::Install(Name& name) {
    if (connection_->Handle() == nullptr) {
        return;
    }
    const std::string match =
        "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg0='" +
        name.name + "'";
    SdBus().sd_bus_add_match_async(connection_->Handle(), name.match.Fill(), match.c_str(), OnOwnerChanged, nullptr,
                                   &name);
    AskOwner(name);
}

void Bus::AskOwner(Name& name) {
    SdBus().sd_bus_call_method_async(connection_->Handle(), name.question.Fill(), "org.freedesktop.DBus",
                                     "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner", OnOwnerReply,
                                     &name, "s", name.name.c_str());
}

int Bus::OnOwnerChanged(sd_bus_message* message, void* name, sd_bus_error* /*error*/) {
    const char* changed = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (SdBus().sd_bus_message_read(message, "sss", &changed, &before, &now) >= 0) {
        DoWork([name, now] { SetOwner(*static_cast<Name*>(name), now); });
    }
    return 0;
}

int Bus::OnOwnerReply(sd_bus_message* message, void* name, sd_bus_error* /*error*/) {
    const char* owner = nullptr;
    if (SdBus().sd_bus_message_is_method_error(message, nullptr) == 0 &&
        SdBus().sd_bus_message_read(message, "s", &owner) >= 0) {
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
    if (connection_->Handle() == nullptr) {
        return;
    }
    const Member& signal = subscription.signal;
    std::string match = "type='signal',sender='" + signal.name + "',interface='" + signal.interface + "',member='" +
                        signal.member + "'";
    if (!signal.path.empty()) {
        match += ",path='" + signal.path + "'";
    }
    SdBus().sd_bus_add_match_async(connection_->Handle(), subscription.match.Fill(), match.c_str(), OnSignal, nullptr,
                                   &subscription);
}

// Anybody on the bus may send a signal to us directly, past the bus's own check of the sender.
int Bus::OnSignal(sd_bus_message* message, void* subscription, sd_bus_error* /*error*/) {
    const auto& self = *static_cast<Subscription*>(subscription);
    const char* sender = SdBus().sd_bus_message_get_sender(message);
    if (sender != nullptr && self.bus->OwnerOf(self.signal.name) == sender) {
        DoWork([&] { self.onSignal(message); });
    }
    return 0;
}

sd_bus_message* Bus::NewCall(const Member& method, const FillFunction& fill) {
    sd_bus_message* call = nullptr;
    sd_bus* bus = connection_->Handle();
    if (bus == nullptr || SdBus().sd_bus_message_new_method_call(bus, &call, method.name.c_str(), method.path.c_str(),
                                                                 method.interface.c_str(), method.member.c_str()) < 0) {
        return nullptr;
    }
    SdBus().sd_bus_message_set_auto_start(call, 0);
    if (fill && fill(call) < 0) {
        return SdBus().sd_bus_message_unref(call);
    }
    return call;
}

bool Bus::Call(const Member& method, const FillFunction& fill, ReplyFunction onReply) {
    sd_bus_message* call = NewCall(method, fill);
    if (call == nullptr) {
        return false;
    }
    calls_.push_back(std::unique_ptr<PendingCall>(new PendingCall{calls_, {}, std::move(onReply), {}}));
    PendingCall& pending = *calls_.back();
    pending.self = std::prev(calls_.end());
    const int result =
        SdBus().sd_bus_call_async(connection_->Handle(), pending.slot.Fill(), call, OnReply, &pending, kReplyTimeoutUs);
    SdBus().sd_bus_message_unref(call);
    if (result < 0) {
        calls_.pop_back();
    }
    return result >= 0;
}

int Bus::OnReply(sd_bus_message* message, void* call, sd_bus_error* /*error*/) {
    auto& pending = *static_cast<PendingCall*>(call);
    const std::unique_ptr<PendingCall> answered = std::move(*pending.self);
    pending.all.erase(pending.self);
    DoWork(
        [&] { answered->onReply(SdBus().sd_bus_message_is_method_error(message, nullptr) != 0 ? nullptr : message); });
    return 0;
}

bool Bus::CallWithoutReply(const Member& method, const FillFunction& fill) {
    sd_bus_message* call = NewCall(method, fill);
    if (call == nullptr) {
        return false;
    }
    SdBus().sd_bus_message_set_expect_reply(call, 0);
    const bool sent = SdBus().sd_bus_send(connection_->Handle(), call, nullptr) >= 0;
    SdBus().sd_bus_message_unref(call);
    return sent;
}
