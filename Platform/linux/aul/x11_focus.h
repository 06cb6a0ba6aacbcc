#ifndef PLATFORM_LINUX_AUL_X11_FOCUS_H
#define PLATFORM_LINUX_AUL_X11_FOCUS_H

#include <glib.h>

#include "aul/focus_source.h"
#include "display/x11_display.h"
#include "events/context_source.h"

namespace aul {

/// The focus as the window manager of an X display publishes it (_NET_ACTIVE_WINDOW of EWMH). The server knows the
/// process behind a window; what the window says of itself is the second choice, since a program in a process namespace
/// does not know its own number.
class X11Focus : public FocusSource {
public:
    /// On an X server inside a Wayland session no X window may have the focus although another window has it: then
    /// nothing is known rather than that nobody has it.
    enum class Kind { kAlone, kInsideWayland };

    X11Focus(GMainContext* context, Kind kind, Function onFocus);
    ~X11Focus() override;

private:
    void OnDown();
    void OnEvent(const xcb_generic_event_t& event);
    bool IsOfInterest(const xcb_generic_event_t& event) const;
    void AskForWindow();
    void Follow(xcb_window_t window);
    void SelectEvents(xcb_window_t window, uint32_t events) const;
    void AskAbout(xcb_window_t window);
    void AskForProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint32_t words,
                        X11Display::ReplyFunction onReply);
    void Answered();
    void NobodyUnlessItChanges();

    GMainContext* context_;
    const Kind kind_;
    const Function onFocus_;
    ContextSource nobody_;
    bool isAsking_ = false;
    bool isStale_ = false;                     ///< changed since it was asked for
    xcb_window_t followed_ = XCB_WINDOW_NONE;  ///< whose end is told
    bool isShown_ = false;                     ///< of the window that is asked about
    FocusedWindow window_;
    X11Display display_;
};

}  // namespace aul

#endif
