#include "focus_model.h"

#include <algorithm>

namespace {

constexpr char kKeyboard[] = "com.velmora.tv.keypane-app";
constexpr int kVisible = 3;
constexpr int kFocused = 5;
constexpr int kHidden = 7;
constexpr int kAnswersFocused = 2;

}  // namespace

std::string FocusModel::IdOf(int pid) const {
    const auto found = apps_.find(pid);
    return found == apps_.end() ? "" : found->second.id;
}

bool FocusModel::HasFocus(int pid) {
    const std::string id = IdOf(pid);
    const auto first = std::find_if(apps_.begin(), apps_.end(), [&](const auto& app) { return app.second.id == id; });
    const bool has = pid > 0 && first != apps_.end() && first->second.status == kAnswersFocused;
    lastFocused_ = has ? pid : lastFocused_;
    return has;
}

void FocusModel::GameOpened(int pid) {
    if (std::find(games_.begin(), games_.end(), pid) == games_.end()) {
        games_.push_back(pid);
    }
    if (HasFocus(pid)) {
        menuMode_ = false;
    }
}

void FocusModel::GameClosed(int pid) {
    games_.erase(std::remove(games_.begin(), games_.end(), pid), games_.end());
}

void FocusModel::LookAt(int pid) {
    menuMode_ = std::find(games_.begin(), games_.end(), pid) == games_.end();
}

void FocusModel::StatusSignal(int pid, int status) {
    if (status == kFocused) {
        lastFocused_ = pid;
        LookAt(pid);
    } else if (status == kVisible && IdOf(pid) == kKeyboard) {
        menuMode_ = true;
    } else if (status == kHidden && IdOf(pid) == kKeyboard) {
        LookAt(lastFocused_);
    }
}
