/// Which processes are games, and why.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace games {

enum class Source : unsigned {
    kGameMode = 1,  // registered with GameMode
    kReader = 2,    // holds a pad's node open
};

/// Threads  one at a time.
class GameSet {
public:
    bool Add(pid_t pid, Source source);     ///< true: it was no game before
    bool Remove(pid_t pid, Source source);  ///< true: nobody calls it a game any more
    bool Erase(pid_t pid);                  ///< true: it was a game

    bool Contains(pid_t pid) const;
    pid_t Newest() const;             ///< 0: none
    std::vector<pid_t> Pids() const;  ///< oldest first
    std::vector<pid_t> Of(Source source) const;

private:
    struct Game {
        pid_t pid;
        unsigned sources;
    };

    std::vector<Game>::const_iterator Find(pid_t pid) const;

    std::vector<Game> games_;  // oldest first; a handful
};

}  // namespace games
