#ifndef PLATFORM_LINUX_AUL_X11_FOCUS_H
#define PLATFORM_LINUX_AUL_X11_FOCUS_H

#include <glib.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "aul/comeback.h"
#include "aul/context_source.h"
#include "aul/focus_source.h"
#include "aul/x11_display.h"

namespace aul {

/// The focus as the window manager of an X display publishes it (_NET_ACTIVE_WINDOW of EWMH). The server knows the
/// process behind a window; what the window says of itself is the second choice, since a program in a process namespace
/// does not know its own number.
class X11Focus : public FocusSource {
public:
    /// On an X server inside a Wayland session no X window may have the focus although another window has it: then
    /// nothing is known rather than that nobody has it.
    enum class Kind { kAlone, kInsideWayland };

    X11Focus(GMainContext* context, std::string display, Kind kind, Function onFocus);
    ~X11Focus() override;

private:
    /// What is asked of a window, in this order.
    enum Question : size_t { kAttributes, kClient, kPid, kClass, kQuestions };
    struct Reply {
        xcb_generic_reply_t* data = nullptr;
        ~Reply();
    };

    void Connect();
    void Connected(std::unique_ptr<X11Display> display);
    void Lose(const std::string& why);
    void Read();
    bool HandleEvents(bool onlyQueued);
    bool TakeReply();
    bool Poll(unsigned sequence, Reply& reply) const;

    bool IsOfInterest(const xcb_generic_event_t& event) const;
    void AskForWindow();
    void Follow(xcb_window_t window);
    void AskAbout(xcb_window_t window);
    unsigned AskForProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint32_t words) const;
    void TakeAnswer(Question question, const xcb_generic_reply_t* reply);
    void Answered();
    void NobodyUnlessItChanges();

    GMainContext* context_;
    const std::string name_;
    const Kind kind_;
    const Function onFocus_;
    Comeback comeback_;
    std::unique_ptr<X11Connector> connector_;
    std::unique_ptr<X11Display> display_;
    ContextSource readable_;
    ContextSource nobody_;

    bool isStale_ = false;                         ///< changed since it was asked for
    std::optional<unsigned> windowRequest_;        ///< sequence numbers of what is under way
    std::array<unsigned, kQuestions> requests_{};  ///< 0: not asked
    size_t answered_ = kQuestions;
    xcb_window_t followed_ = XCB_WINDOW_NONE;  ///< whose end is told
    bool isShown_ = false;                     ///< of the window that is asked about
    FocusedWindow window_;
};

}  // namespace aul

#endif
