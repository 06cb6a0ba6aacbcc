#ifndef PLATFORM_LINUX_BUS_CONNECTION_H
#define PLATFORM_LINUX_BUS_CONNECTION_H

#include <glib.h>

#include <memory>

#include "bus/sd_bus.h"
#include "events/comeback.h"
#include "events/members.h"

/// The process's one connection to a message bus: opened for the first who shares it, closed with the last. The bus may
/// be missing, come later, vanish and come back.
///
/// Threads  the events thread's, where its users are called. They may leave, join and call the bus then.
/// Errors   one message when the bus is lost and one when it is back.
class BusConnection : public std::enable_shared_from_this<BusConnection> {
public:
    enum class Kind { kSession, kSystem };

    class User {
    public:
        virtual void OnConnected() = 0;
        /// Everything that was asked of the connection goes with it.
        virtual void OnLost() = 0;

    protected:
        ~User() = default;
    };

    static std::shared_ptr<BusConnection> Shared(GMainContext* context, Kind kind);

    BusConnection(GMainContext* context, Kind kind);
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    void Join(User& user) { users_.Add(user); }
    void Leave(User& user) { users_.Remove(user); }
    /// Null while there is none.
    sd_bus* Handle() const { return bus_; }

private:
    void Connect();
    void ConnectIfThere();
    void Disconnect();
    void Lose(int error);
    void Attach();
    void PollFor(int events);
    gint64 TimeLeft() const;
    void Process();

    static gboolean Prepare(GSource* source, gint* timeout);
    static gboolean Check(GSource* source);
    static gboolean Dispatch(GSource* source, GSourceFunc callback, gpointer data);

    GMainContext* const context_;
    const Kind kind_;
    sd_bus* bus_ = nullptr;
    GSource* source_ = nullptr;
    gpointer tag_ = nullptr;  ///< of the descriptor in the source
    int polledFor_ = 0;
    Members<User> users_;
    Comeback comeback_;
};

#endif
