/// Which processes are games: the list that the service is told of, for the rest of the platform.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

namespace games {

class Tracker;

/// A share in the list of running games, which is kept from the first share to the last. The service's callback is one.
///
/// Threads  made and destroyed on the thread "platform-events", also inside onChange. What is asked: any thread, one
///          leaf lock; nothing waits.
/// Order    a change shows in the list first; then the service's callback is told; then, when that has returned, the
///          other shares in the order in which they were made. So whoever tells the service of the focus in onChange
///          can rely on the service knowing the game.
/// Start    each share is told of the games that run when it is made, and of those that are found within moments of the
///          first share, as if they opened then.
/// Pause    for a moment after the service has registered or read the text no change is told to anybody (kPauseUs in
/// the
///          source), so that it has done what it does then before it hears of changes.
class GameList {
public:
    /// Arrives on "platform-events"; of one process an opening, then its closing, and so on by turns.
    using ChangeFunction = std::function<void(pid_t pid, bool is_open)>;
    enum class Turn { kService, kAfterService };

    explicit GameList(ChangeFunction on_change, Turn turn = Turn::kAfterService);
    ~GameList();
    GameList(const GameList&) = delete;
    GameList& operator=(const GameList&) = delete;

    /// The remaining functions answer for no game at all while there is no share.
    static bool Contains(pid_t pid);
    /// The running game that opened last; 0: none.
    static pid_t Newest();
    /// The process itself when it is a game, else the nearest of its ancestors that is one; 0: none.
    static pid_t GameAbove(pid_t pid);
    /// "pid,pid,...", oldest first.
    static std::string Text();

private:
    friend class Tracker;

    const ChangeFunction on_change_;
    const std::shared_ptr<Tracker> tracker_;
};

}  // namespace games
