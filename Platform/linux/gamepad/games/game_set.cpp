#include "gamepad/games/game_set.h"

#include <algorithm>

namespace games {

std::vector<GameSet::Game>::const_iterator GameSet::Find(pid_t pid) const {
    return std::find_if(games_.begin(), games_.end(), [pid](const Game& game) { return game.pid == pid; });
}

bool GameSet::Add(pid_t pid, Source source) {
    const auto found = Find(pid);
    if (found == games_.end()) {
        games_.push_back({pid, static_cast<unsigned>(source)});
        return true;
    }
    games_[static_cast<std::size_t>(found - games_.begin())].sources |= static_cast<unsigned>(source);
    return false;
}

bool GameSet::Remove(pid_t pid, Source source) {
    const auto found = Find(pid);
    if (found == games_.end()) {
        return false;
    }
    Game& game = games_[static_cast<std::size_t>(found - games_.begin())];
    game.sources &= ~static_cast<unsigned>(source);
    return game.sources == 0 && Erase(pid);
}

bool GameSet::Erase(pid_t pid) {
    const auto found = Find(pid);
    if (found == games_.end()) {
        return false;
    }
    games_.erase(found);
    return true;
}

bool GameSet::Contains(pid_t pid) const {
    return Find(pid) != games_.end();
}

pid_t GameSet::Newest() const {
    return games_.empty() ? 0 : games_.back().pid;
}

std::vector<pid_t> GameSet::Pids() const {
    std::vector<pid_t> pids;
    for (const Game& game : games_) {
        pids.push_back(game.pid);
    }
    return pids;
}

std::vector<pid_t> GameSet::Of(Source source) const {
    std::vector<pid_t> pids;
    for (const Game& game : games_) {
        if ((game.sources & static_cast<unsigned>(source)) != 0) {
            pids.push_back(game.pid);
        }
    }
    return pids;
}

}  // namespace games
