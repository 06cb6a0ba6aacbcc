#include "aul/session_focus.h"

#include <cstdlib>
#include <utility>

#include "aul/sway_focus.h"
#include "aul/x11_focus.h"
#include "platform/dlog.h"

namespace aul {
namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : std::string();
}

}  // namespace

SessionFocus::SessionFocus(GMainContext* context, Function onFocus)
    : context_(context), onFocus_(std::move(onFocus)), display_(Variable("DISPLAY")) {
    std::string socket = Variable("SWAYSOCK");
    if (socket.empty() && display_.empty()) {
        socket = Variable("I3SOCK");
    }
    if (socket.empty()) {
        if (display_.empty()) {
            __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD",
                         "no DISPLAY, SWAYSOCK or I3SOCK is set: the newest running game has the focus");
        }
        UseDisplay();
    } else {
        sway_ = std::make_unique<SwayFocus>(context, socket,
                                            [this](const std::optional<FocusedWindow>& window) { OnSway(window); });
    }
}

// The variable may be left from an earlier session, and sway may come back.
void SessionFocus::OnSway(const std::optional<FocusedWindow>& window) {
    if (window) {
        x11_.reset();
        onFocus_(window);
    } else if (x11_ == nullptr) {
        onFocus_(std::nullopt);
        UseDisplay();
    }
}

void SessionFocus::UseDisplay() {
    if (!display_.empty()) {
        const auto kind = Variable("WAYLAND_DISPLAY").empty() ? X11Focus::Kind::kAlone : X11Focus::Kind::kInsideWayland;
        x11_ = std::make_unique<X11Focus>(context_, kind, onFocus_);
    }
}

}  // namespace aul
