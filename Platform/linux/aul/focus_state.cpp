#include "aul/focus_state.h"

#include <algorithm>
#include <csignal>

#include "aul/application_id.h"

namespace aul {
namespace {

/// The application id by which the service knows an on-screen keyboard.
constexpr char kKeyboardId[] = "com.velmora.tv.keypane-app";

/// More games than anybody runs at once; the oldest are forgotten.
constexpr size_t kMostAsked = 64;

bool Exists(pid_t pid) {
    return kill(pid, 0) == 0 || errno == EPERM;
}

}  // namespace

FocusState& FocusState::TheOne() {
    static auto& state = *new FocusState;
    return state;
}

void FocusState::SetFocus(pid_t told, pid_t window, const std::string& windowApp) {
    const Hold hold(lock_);
    told_ = told;
    window_ = window;
    windowApp_ = windowApp;
}

void FocusState::AddKeyboard(pid_t pid) {
    const Hold hold(lock_);
    keyboards_.push_back(pid);
}

void FocusState::RemoveKeyboard(pid_t pid) {
    const Hold hold(lock_);
    keyboards_.erase(std::remove(keyboards_.begin(), keyboards_.end(), pid), keyboards_.end());
}

void FocusState::Clear() {
    const Hold hold(lock_);
    told_ = 0;
    window_ = 0;
    windowApp_.clear();
    keyboards_.clear();
    asked_.clear();
}

bool FocusState::IsKeyboardLocked(pid_t pid) const {
    return std::find(keyboards_.begin(), keyboards_.end(), pid) != keyboards_.end();
}

std::string FocusState::AppId(pid_t pid) {
    std::string windowApp;
    bool isKeyboard = false;
    {
        const Hold hold(lock_);
        isKeyboard = IsKeyboardLocked(pid);
        windowApp = HasFocusLocked(pid) ? windowApp_ : std::string();
    }
    std::string id = isKeyboard ? kKeyboardId : ApplicationId(pid, windowApp);
    if (!id.empty()) {
        const Hold hold(lock_);
        RememberLocked(id, pid);
    }
    return id;
}

void FocusState::RememberLocked(const std::string& id, pid_t pid) {
    asked_.erase(std::remove_if(asked_.begin(), asked_.end(), [pid](const auto& asked) { return asked.second == pid; }),
                 asked_.end());
    asked_.emplace_back(id, pid);
    if (asked_.size() > kMostAsked) {
        asked_.pop_front();
    }
}

int FocusState::Status(const std::string& id) const {
    pid_t window = 0;
    pid_t told = 0;
    std::string windowApp;
    {
        const Hold hold(lock_);
        bool isKnown = false;
        for (const auto& [askedId, pid] : asked_) {
            if (askedId == id && HasFocusLocked(pid)) {
                return kFocused;
            }
            isKnown = isKnown || (askedId == id && Exists(pid));
        }
        if (isKnown) {
            return kNotFocused;
        }
        window = window_;
        told = told_;
        windowApp = windowApp_;
    }
    const bool isFocused = !id.empty() && ((window > 0 && id == ApplicationId(window, windowApp)) ||
                                           (told > 0 && id == ApplicationId(told, windowApp)));
    return isFocused ? kFocused : kUnknown;
}

}  // namespace aul
