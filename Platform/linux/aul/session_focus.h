#ifndef PLATFORM_LINUX_AUL_SESSION_FOCUS_H
#define PLATFORM_LINUX_AUL_SESSION_FOCUS_H

#include <glib.h>

#include <memory>
#include <string>

#include "aul/focus_source.h"

namespace aul {

/// The focus as whatever window system this session has tells it: sway ($SWAYSOCK) where it answers, else the X display
/// ($DISPLAY), else i3 or what calls itself so ($I3SOCK). Not asked beside sway is X: that would start its X server.
class SessionFocus : public FocusSource {
public:
    SessionFocus(GMainContext* context, Function onFocus);

private:
    void OnSway(const std::optional<FocusedWindow>& window);
    void UseDisplay();

    GMainContext* context_;
    const Function onFocus_;
    const std::string display_;
    std::unique_ptr<FocusSource> x11_;
    std::unique_ptr<FocusSource> sway_;
};

}  // namespace aul

#endif
