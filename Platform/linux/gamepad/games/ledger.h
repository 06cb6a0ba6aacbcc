/// The list of games and the changes of it that have not been told yet.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "gamepad/games/game_set.h"
#include "locks/locks.h"

namespace games {

/// Meant for those who joined with a number from `first` to before `end`.
struct Change {
    pid_t pid;
    bool is_open;
    unsigned long long first;
    unsigned long long end;
};

/// Threads  any; one leaf lock.
/// Units    times are microseconds of g_get_monotonic_time.
class Ledger {
public:
    bool Add(pid_t pid, Source source);     ///< true: this opened the game
    bool Remove(pid_t pid, Source source);  ///< true: this closed the game
    bool Erase(pid_t pid);                  ///< true: this closed the game
    void Clear();                           ///< no games, and nothing left to tell

    /// The number of one more who is to be told: of the games that run as if they opened now, then of each change.
    unsigned long long Join();

    /// The oldest change that was not taken yet; none while they are held.
    std::optional<Change> Take(long long now);
    /// When Take has something; nullopt: nothing to tell.
    std::optional<long long> DueAt() const;

    bool Contains(pid_t pid) const;
    pid_t Newest() const;
    std::vector<pid_t> Of(Source source) const;
    /// No change is taken before the given time, or a later one that was given before.
    void HoldUntil(long long time);
    /// "pid,pid,...", and holds back changes as HoldUntil does.
    std::string TextAndHoldUntil(long long time);

private:
    bool NoteLocked(bool is_change, pid_t pid, bool is_open) REQUIRES(lock_);
    void HoldUntilLocked(long long time) REQUIRES(lock_);

    mutable Lock lock_;
    GameSet games_ GUARDED_BY(lock_);
    std::deque<Change> untold_ GUARDED_BY(lock_);
    unsigned long long joined_ GUARDED_BY(lock_) = 0;  // so many so far
    long long held_until_ GUARDED_BY(lock_) = 0;
};

}  // namespace games
