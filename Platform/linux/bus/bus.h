#ifndef PLATFORM_LINUX_BUS_BUS_H
#define PLATFORM_LINUX_BUS_BUS_H

#include <glib.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "bus/connection.h"
#include "bus/sd_bus.h"

/// A share in the process's connection to a message bus.
///
/// What is watched and subscribed holds across connections, until the share ends. Signals are believed only from the
/// connection that owns the name they are subscribed for. Nothing waits: replies come as callbacks, and no service is
/// started by a call.
///
/// Threads  made, used and destroyed on the thread of the context; all callbacks arrive there. A callback may call the
///          bus, and end other shares, but not its own.
/// Errors   as those of BusConnection.
class Bus final : private BusConnection::User {
public:
    using Kind = BusConnection::Kind;
    using OwnerFunction = std::function<void(bool isOwned)>;
    using SignalFunction = std::function<void(sd_bus_message* signal)>;
    /// Appends the arguments; negative errno values of sd-bus end the call.
    using FillFunction = std::function<int(sd_bus_message* call)>;
    /// Null when there was no reply: an error, a lost bus, a time-out. Not called after the end of the share.
    using ReplyFunction = std::function<void(sd_bus_message* reply)>;

    struct Member {
        std::string name;  ///< well-known name of the service
        std::string path;
        std::string interface;
        std::string member;
    };

    Bus(GMainContext* context, Kind kind);
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Told at once and then at each change whether somebody owns the name; a change of the owner is a loss and a gain.
    void WatchName(const std::string& name, OwnerFunction onOwner);
    bool IsOwned(const std::string& name) const;
    /// The owner's unique name; empty without one.
    std::string OwnerOf(const std::string& name) const;
    /// Of this connection; empty without one.
    std::string UniqueName() const;
    /// The name must be watched. An empty path stands for any.
    void Subscribe(const Member& signal, SignalFunction onSignal);

    /// Calls the owner of the name. False when it was not sent; there is no callback then.
    bool Call(const Member& method, const FillFunction& fill, ReplyFunction onReply);
    bool CallWithoutReply(const Member& method, const FillFunction& fill = {});

private:
    struct Name;
    struct Subscription;
    struct PendingCall;
    using PendingCalls = std::list<std::unique_ptr<PendingCall>>;

    void OnConnected() override;
    void OnLost() override;
    void Install(Name& name);
    void Install(Subscription& subscription);
    void AskOwner(Name& name);
    static void SetOwner(Name& name, const std::string& owner);
    sd_bus_message* NewCall(const Member& method, const FillFunction& fill);

    static int OnOwnerChanged(sd_bus_message* message, void* name, sd_bus_error* error);
    static int OnOwnerReply(sd_bus_message* message, void* name, sd_bus_error* error);
    static int OnSignal(sd_bus_message* message, void* subscription, sd_bus_error* error);
    static int OnReply(sd_bus_message* message, void* call, sd_bus_error* error);

    const std::shared_ptr<BusConnection> connection_;
    std::map<std::string, std::unique_ptr<Name>> names_;
    std::list<std::unique_ptr<Subscription>> subscriptions_;
    PendingCalls calls_;
};

#endif
