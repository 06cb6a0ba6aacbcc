#pragma once

#include <map>
#include <string>
#include <vector>

/// Whether the menus may be driven: no as soon as a game that is known to run has the focus.
class FocusModel {
public:
    // What the machine would answer when it is asked.
    void SetApp(int pid, const std::string& id, int status) { apps_[pid] = {id, status}; }
    void RemoveApp(int pid) { apps_.erase(pid); }

    void GameOpened(int pid);
    void GameClosed(int pid);
    void StatusSignal(int pid, int status);

    bool menuMode() const { return menuMode_; }

private:
    struct App {
        std::string id;
        int status;
    };

    std::string IdOf(int pid) const;
    bool HasFocus(int pid);
    void LookAt(int pid);

    std::map<int, App> apps_;
    std::vector<int> games_;
    int lastFocused_ = 0;
    bool menuMode_ = true;
};
