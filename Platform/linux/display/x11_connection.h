#pragma once

#include <glib.h>

#include <memory>
#include <string>

#include "display/x11_connector.h"
#include "display/xcb.h"
#include "events/comeback.h"
#include "events/members.h"

/// The process's one connection to the X display of $DISPLAY: opened for the first who shares it, closed with the last.
/// The server may be missing, come later, vanish and come back.
///
/// Threads  the events thread's, where its users are called. They may leave and join then.
/// Waits    for nothing but in X11Connector's thread.
/// Errors   one message when the display is lost and one when it is back; one when the X libraries are not installed.
class X11Connection : public std::enable_shared_from_this<X11Connection> {
public:
    class User {
    public:
        virtual void OnConnected() = 0;
        /// Also events that others have asked for.
        virtual void OnEvent(const xcb_generic_event_t& event) = 0;
        /// Takes one reply that has come, and was sent before the event where there is one; false when there is none.
        virtual bool TakeReply(xcb_connection_t* connection, const xcb_generic_event_t* event) = 0;
        virtual void OnLost() = 0;

    protected:
        ~User() = default;
    };

    static std::shared_ptr<X11Connection> Shared(GMainContext* context);

    explicit X11Connection(GMainContext* context);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    void Join(User& user) { users_.Add(user); }
    void Leave(User& user) { users_.Remove(user); }

    /// Null while there is none. What is requested is sent when the thread has nothing else to do.
    const X11Server* Use();
    bool IsUp() const { return server_ != nullptr; }
    const Xcb& Functions() const { return *xcb_; }

private:
    struct Source;

    void Connect();
    void ConnectIfThere();
    void Connected(std::unique_ptr<X11Server> server);
    void Attach();
    void Close();
    void Lose(const char* why);
    bool TakeReplies(const xcb_generic_event_t* event);
    bool TakeOne();
    void Process();

    static gboolean Prepare(GSource* source, gint* timeout);
    static gboolean Check(GSource* source);
    static gboolean Dispatch(GSource* source, GSourceFunc callback, gpointer data);

    GMainContext* const context_;
    const std::string name_;
    const Xcb* const xcb_;
    std::unique_ptr<X11Server> server_;
    GSource* source_ = nullptr;
    gpointer tag_ = nullptr;    ///< of the descriptor in the source
    bool mayHaveRead_ = false;  ///< what a request has read lies in the queue
    Members<User> users_;
    std::unique_ptr<X11Connector> connector_;
    Comeback comeback_;
};
