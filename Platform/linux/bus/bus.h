#ifndef PLATFORM_LINUX_BUS_BUS_H
#define PLATFORM_LINUX_BUS_BUS_H

#include <glib.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "bus/socket_watch.h"
#include "events/presence.h"

/// A connection to a message bus that may be missing, come later, vanish and come back.
///
/// What is watched and subscribed holds across connections. Signals are believed only from the connection that owns the
/// name they are subscribed for. Nothing waits: replies come as callbacks, and no service is started by a call.
///
/// Threads  made, used and destroyed on the thread of the context; all callbacks arrive there. A callback may call the
///          bus, but not destroy it.
/// Errors   one message when a bus is lost and one when it is back (Presence).
class Bus {
public:
    enum class Kind { kSession, kSystem };
    using OwnerFunction = std::function<void(bool isOwned)>;
    using SignalFunction = std::function<void(sd_bus_message* signal)>;
    /// Appends the arguments; negative errno values of sd-bus end the call.
    using FillFunction = std::function<int(sd_bus_message* call)>;
    /// Null when there was no reply: an error, a lost bus, a time-out.
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

    bool Open();
    void Connect();
    void ConnectIfThere();
    void WaitForSocket();
    void Disconnect();
    void Lose(const char* why);
    void Attach();
    void PollFor(int events);
    gint64 TimeLeft() const;
    void Install(Name& name);
    void Install(Subscription& subscription);
    void AskOwner(Name& name);
    static void SetOwner(Name& name, const std::string& owner);
    sd_bus_message* NewCall(const Member& method, const FillFunction& fill);
    void Process();

    static int OnOwnerChanged(sd_bus_message* message, void* name, sd_bus_error* error);
    static int OnOwnerReply(sd_bus_message* message, void* name, sd_bus_error* error);
    static int OnSignal(sd_bus_message* message, void* subscription, sd_bus_error* error);
    static int OnReply(sd_bus_message* message, void* call, sd_bus_error* error);
    static void DeletePendingCall(void* call);

    static gboolean Prepare(GSource* source, gint* timeout);
    static gboolean Check(GSource* source);
    static gboolean Dispatch(GSource* source, GSourceFunc callback, gpointer data);

    GMainContext* context_;
    Kind kind_;
    Presence presence_;
    sd_bus* bus_ = nullptr;
    GSource* source_ = nullptr;
    gpointer tag_ = nullptr;  ///< of the descriptor in the source
    int polledFor_ = 0;
    unsigned retrySeconds_;
    bool isUp_ = false;
    std::map<std::string, std::unique_ptr<Name>> names_;
    std::list<std::unique_ptr<Subscription>> subscriptions_;
    std::unique_ptr<SocketWatch> socketWatch_;
};

#endif
