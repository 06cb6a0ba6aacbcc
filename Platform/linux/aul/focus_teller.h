#ifndef PLATFORM_LINUX_AUL_FOCUS_TELLER_H
#define PLATFORM_LINUX_AUL_FOCUS_TELLER_H

#include <glib.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>

#include "aul/focus_source.h"
#include "events/pid_watch.h"
#include "gamepad/games/game_list.h"

namespace aul {

/// Decides which process has the focus and tells each change once, and keeps FocusState's focus.
///
/// It is the process of the focused window, or the game above it when a launcher was registered in its place; where no
/// window system tells, the game that opened last. A process that ends has no focus any more, whatever the window
/// manager says. 0 stands for the desktop: no window, and so no game, has the focus. When a process that was told
/// becomes a game or stops being one, it is told once more, since that means something else now.
///
/// Threads  made and destroyed on the thread of the context, where `tell` arrives, which must not destroy this.
class FocusTeller {
public:
    using TellFunction = std::function<void(pid_t pid)>;

    FocusTeller(GMainContext* context, TellFunction tell);
    FocusTeller(const FocusTeller&) = delete;
    FocusTeller& operator=(const FocusTeller&) = delete;

private:
    void OnGame(pid_t pid);
    void OnFocus(const std::optional<FocusedWindow>& window);
    void OnEnd();
    void Watch(pid_t pid);
    void Decide();

    GMainContext* context_;
    const TellFunction tell_;
    std::optional<FocusedWindow> window_;  ///< none: nobody tells
    pid_t told_ = 0;
    pid_t watched_ = 0;
    std::unique_ptr<PidWatch> watch_;
    games::GameList games_;
    std::unique_ptr<FocusSource> source_;
};

}  // namespace aul

#endif
