#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <string>

#include "display/xcb.h"
#include "events/context_source.h"

/// A connection to an X server, with everything that had to be waited for: the answers about extensions are kept with
/// the connection.
class X11Server {
public:
    /// Waits for the server, as long as that takes. Null when it cannot be used. Any thread.
    static std::unique_ptr<X11Server> Connect(const Xcb& xcb, const std::string& name);
    ~X11Server();
    X11Server(const X11Server&) = delete;
    X11Server& operator=(const X11Server&) = delete;

    xcb_connection_t* Connection() const { return connection_; }
    xcb_window_t Root() const { return root_; }
    xcb_atom_t ActiveWindow() const { return activeWindow_; }
    xcb_atom_t WindowPid() const { return windowPid_; }
    xcb_atom_t ScreensaverStatus() const { return screensaverStatus_; }

private:
    X11Server(const Xcb& xcb, const std::string& name);
    bool Prepare();
    bool FindRoot();
    void AskForExtensions() const;
    xcb_atom_t Atom(const char* name) const;

    const Xcb& xcb_;
    int screen_ = 0;
    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_atom_t activeWindow_ = XCB_ATOM_NONE;
    xcb_atom_t windowPid_ = XCB_ATOM_NONE;
    xcb_atom_t screensaverStatus_ = XCB_ATOM_NONE;
};

/// Connects on a short-lived thread, since a server that hangs makes its clients wait without limit.
///
/// Threads  made and destroyed on the thread of the context, where onDone arrives once; it may destroy this.
/// Errors   null when there is no connection after ten seconds. A thread that still waits then is left to itself; while
///          four do so, no further one is started.
class X11Connector {
public:
    using DoneFunction = std::function<void(std::unique_ptr<X11Server>)>;

    X11Connector(GMainContext* context, const Xcb& xcb, const std::string& name, DoneFunction onDone);
    ~X11Connector();
    X11Connector(const X11Connector&) = delete;
    X11Connector& operator=(const X11Connector&) = delete;

private:
    struct Attempt;
    bool Start(const Xcb& xcb, const std::string& name);
    void Done(std::unique_ptr<X11Server> server);

    DoneFunction onDone_;
    std::shared_ptr<Attempt> attempt_;
    ContextSource done_;
    ContextSource timeLimit_;
};
