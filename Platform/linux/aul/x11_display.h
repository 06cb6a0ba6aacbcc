#ifndef PLATFORM_LINUX_AUL_X11_DISPLAY_H
#define PLATFORM_LINUX_AUL_X11_DISPLAY_H

#include <glib.h>

#include <functional>
#include <memory>
#include <string>

#include "aul/context_source.h"
#include "aul/xcb_library.h"

namespace aul {

/// A connection to an X server, with everything that had to be waited for.
class X11Display {
public:
    /// Waits for the server, as long as that takes. Null when it cannot be used. Any thread.
    static std::unique_ptr<X11Display> Connect(const XcbLibrary& xcb, const std::string& name);
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    const XcbLibrary& Xcb() const { return xcb_; }
    xcb_connection_t* Connection() const { return connection_; }
    xcb_window_t Root() const { return root_; }
    xcb_atom_t ActiveWindow() const { return activeWindow_; }
    xcb_atom_t WmPid() const { return wmPid_; }
    bool KnowsClients() const { return knowsClients_; }  ///< which process is behind a window

private:
    X11Display(const XcbLibrary& xcb, const std::string& name);
    bool Prepare();
    xcb_atom_t Atom(const char* name) const;

    const XcbLibrary& xcb_;
    int screen_ = 0;
    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_atom_t activeWindow_ = XCB_ATOM_NONE;
    xcb_atom_t wmPid_ = XCB_ATOM_NONE;
    bool knowsClients_ = false;
};

/// Connects on a short-lived thread, since a server that hangs makes its clients wait without limit.
///
/// Threads  made and destroyed on the thread of the context, where onDone arrives once; it may destroy this.
/// Errors   null when there is no connection after ten seconds. A thread that still waits then is left to itself; while
///          four do so, no further one is started.
class X11Connector {
public:
    using DoneFunction = std::function<void(std::unique_ptr<X11Display>)>;

    X11Connector(GMainContext* context, const std::string& name, DoneFunction onDone);
    ~X11Connector();
    X11Connector(const X11Connector&) = delete;
    X11Connector& operator=(const X11Connector&) = delete;

private:
    struct Attempt;
    bool Start(const std::string& name);
    void Done(std::unique_ptr<X11Display> display);

    DoneFunction onDone_;
    std::shared_ptr<Attempt> attempt_;
    ContextSource done_;
    ContextSource timeLimit_;
};

}  // namespace aul

#endif
