#pragma once

#include <glib.h>

#include <functional>
#include <list>
#include <memory>

#include "display/x11_connection.h"

/// A share in the process's connection to the X display.
///
/// Threads  made, used and destroyed on the thread of the context; all functions given to it are called there. They may
///          not destroy it.
/// Errors   as those of X11Connection.
class X11Display : private X11Connection::User {
public:
    struct Handlers {
        std::function<void()> onUp;
        /// Properties of the root window are among the events.
        std::function<void(const xcb_generic_event_t& event)> onEvent;
        std::function<void()> onDown;
    };
    /// Null for an error. Not called for a display that is lost.
    using ReplyFunction = std::function<void(const void* reply)>;

    X11Display(GMainContext* context, Handlers handlers);
    ~X11Display();
    /// Connects, now or when that becomes possible; call it once.
    void Start();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    /// Whether the session is one of X. Inside a Wayland session ($WAYLAND_DISPLAY) the X server knows neither
    /// screensaver nor power, and a connection would start it.
    static bool IsOffered();

    bool IsUp() const { return connection_ != nullptr && connection_->IsUp(); }
    /// The following need a display that is up. What is requested is sent when the callback returns.
    const Xcb& Functions() const { return connection_->Functions(); }
    const X11Server& Server() const { return *connection_->Use(); }
    xcb_connection_t* Connection() const { return Server().Connection(); }
    /// Null where the server has no such extension, or this machine not its library.
    const xcb_query_extension_reply_t* Extension(xcb_extension_t* extension) const;
    /// Replies come in the order of the requests.
    void Await(unsigned sequence, ReplyFunction onReply);

private:
    struct Question {
        unsigned sequence;
        ReplyFunction onReply;
    };

    void OnConnected() override { handlers_.onUp(); }
    void OnEvent(const xcb_generic_event_t& event) override { handlers_.onEvent(event); }
    bool TakeReply(xcb_connection_t* connection, const xcb_generic_event_t* event) override;
    bool IsAskedBefore(const xcb_generic_event_t* event) const;
    void OnLost() override;

    GMainContext* const context_;
    const Handlers handlers_;
    std::list<Question> questions_;
    std::shared_ptr<X11Connection> connection_;  ///< from Start on
};
