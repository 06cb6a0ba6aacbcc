#pragma once

#include <glib.h>

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "bus/socket_watch.h"
#include "display/xcb.h"
#include "events/presence.h"

/// The X display of $DISPLAY, which may be missing, come later, vanish and come back. Not used inside a Wayland session
/// ($WAYLAND_DISPLAY): the X server there knows neither screensaver nor power, and a connection would start it.
///
/// Threads  made, used and destroyed on the thread of the context; all functions given to it are called there. They may
///          not destroy it.
/// Waits    for nothing: connecting has a short-lived thread of its own, since a server that hangs makes its clients
/// wait
///          without limit; replies come as callbacks.
/// Errors   one message when the display is lost and one when it is back (Presence).
class X11Display {
public:
    struct Handlers {
        std::function<void()> onUp;
        std::function<void(const xcb_generic_event_t& event)> onEvent;
        std::function<void()> onDown;
    };
    /// Null for an error.
    using ReplyFunction = std::function<void(const void* reply)>;

    X11Display(GMainContext* context, const char* purpose, Handlers handlers);
    ~X11Display();
    /// Connects, now or when that becomes possible; call it once.
    void Start();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    /// Whether this session has an X display at all, connected or not.
    static bool IsOffered();

    bool IsUp() const { return isUp_; }
    /// The following need a display that is up. What is requested is sent when the callback returns.
    const Xcb& Functions() const { return *xcb_; }
    xcb_connection_t* Connection() const { return connection_; }
    xcb_window_t Root() const { return root_; }
    /// Null where the server has no such extension.
    const xcb_query_extension_reply_t* Extension(xcb_extension_t* extension);
    void Await(unsigned sequence, ReplyFunction onReply);

private:
    struct Source;
    struct Attempt;
    struct Question {
        unsigned sequence;
        ReplyFunction onReply;
    };

    void Connect();
    void TryOnce();
    void OnAttempt(xcb_connection_t* connection);
    void Attach();
    void Lose();
    void Close();
    void WaitForServer();
    void TryAgain();
    bool AnswerOne();
    void Process();

    static void* RunAttempt(void* share);
    static gboolean FinishAttempt(gpointer share);
    static void ForgetAttempt(gpointer share);
    static gboolean Prepare(GSource* source, gint* timeout);
    static gboolean Check(GSource* source);
    static gboolean Dispatch(GSource* source, GSourceFunc callback, gpointer data);

    GMainContext* const context_;
    const std::string purpose_;
    const Handlers handlers_;
    const Xcb* xcb_ = nullptr;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = 0;
    GSource* source_ = nullptr;
    gpointer tag_ = nullptr;     ///< of the descriptor in the source
    bool mayHaveRead_ = false;   ///< what a wait has read lies in the queue
    bool mustTryAgain_ = false;  ///< something happened while a try was under way
    bool isUp_ = false;
    Presence presence_;
    unsigned retrySeconds_;
    std::list<Question> questions_;
    std::shared_ptr<Attempt> attempt_;  ///< while one is made
    std::unique_ptr<SocketWatch> serverWatch_;
};
