#ifndef PLATFORM_LINUX_AUL_FOCUS_SOURCE_H
#define PLATFORM_LINUX_AUL_FOCUS_SOURCE_H

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

namespace aul {

/// Whose window has the focus, as the window system tells it.
struct FocusedWindow {
    pid_t pid = 0;    ///< 0: no window has it, or one whose process cannot be known
    std::string app;  ///< what the window calls its application (app_id, WM_CLASS); may be empty
};

/// Something that knows which window has the focus. It tells at once and at each change, and finds its own way back to
/// a window system that went away.
///
/// Threads  made and destroyed on the thread of the context, where the function is called, but not inside the function.
class FocusSource {
public:
    /// Without a value: nobody there who could tell. May be called while the source is made.
    using Function = std::function<void(const std::optional<FocusedWindow>&)>;

    FocusSource() = default;
    virtual ~FocusSource() = default;
    FocusSource(const FocusSource&) = delete;
    FocusSource& operator=(const FocusSource&) = delete;
};

}  // namespace aul

#endif
