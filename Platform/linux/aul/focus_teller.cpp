#include "aul/focus_teller.h"

#include <utility>

#include "aul/focus_state.h"
#include "aul/session_focus.h"

namespace aul {

FocusTeller::FocusTeller(GMainContext* context, TellFunction tell)
    : context_(context), tell_(std::move(tell)), games_([this](pid_t pid, bool /*isOpen*/) { OnGame(pid); }) {
    source_ = std::make_unique<SessionFocus>(context,
                                             [this](const std::optional<FocusedWindow>& window) { OnFocus(window); });
    Decide();
}

void FocusTeller::OnGame(pid_t pid) {
    const pid_t before = told_;
    Decide();
    if (pid == before && pid == told_) {
        tell_(told_);
    }
}

void FocusTeller::OnFocus(const std::optional<FocusedWindow>& window) {
    window_ = window;
    Watch(window ? window->pid : 0);
    Decide();
}

// A window manager need not notice when the last window goes.
void FocusTeller::OnEnd() {
    window_ = FocusedWindow{};
    Watch(0);
    Decide();
}

void FocusTeller::Watch(pid_t pid) {
    if (pid != watched_) {
        watched_ = pid;
        watch_ = pid > 0 ? std::make_unique<PidWatch>(context_, pid, [this] { OnEnd(); }) : nullptr;
    }
}

void FocusTeller::Decide() {
    const FocusedWindow focused = window_ ? *window_ : FocusedWindow{games::GameList::Newest(), {}};
    const pid_t game = focused.pid > 0 ? games::GameList::GameAbove(focused.pid) : 0;
    const pid_t pid = game > 0 ? game : focused.pid;
    FocusState::TheOne().SetFocus(pid, focused.pid, focused.app);
    if (pid != told_) {
        told_ = pid;
        tell_(pid);
    }
}

}  // namespace aul
