/// Keeps the list of games and tells its changes.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "events/events_thread.h"
#include "events/pid_watch.h"
#include "gamepad/games/game_list.h"
#include "gamepad/games/gamemode.h"
#include "gamepad/games/ledger.h"
#include "gamepad/games/reader_watch.h"
#include "gamepad/games/timer.h"

namespace games {

/// There is one at a time: as long as there are shares in the list.
///
/// Threads  all on "platform-events"; changes are told from a source of its own, so that the callbacks may do anything,
///          also give up the last share.
class Tracker : public std::enable_shared_from_this<Tracker> {
public:
    static std::shared_ptr<Tracker> Shared();
    static Ledger& TheLedger();

    Tracker();
    ~Tracker();
    Tracker(const Tracker&) = delete;
    Tracker& operator=(const Tracker&) = delete;

    void Join(GameList& list, GameList::Turn turn);
    void Leave(const GameList& list);

private:
    using Place = std::pair<GameList::Turn, unsigned long long>;  // by whose turn it is, then by the ledger's number

    void FollowPads();
    void Add(pid_t pid, Source source, const std::string& why);
    void Remove(pid_t pid, Source source);
    void RemoveMissing(Source source, const std::vector<pid_t>& present);
    void SetRegistered(const std::vector<pid_t>& pids);
    void SetReaders(const std::vector<Reader>& readers);
    void Ended(pid_t pid);
    void Closed(pid_t pid);
    void Tell();
    void TellAll(const Change& change);

    const EventsThread thread_;
    std::map<Place, GameList*> lists_;
    std::map<pid_t, std::unique_ptr<PidWatch>> watches_;
    Timer telling_;
    ReaderWatch readers_;
    GameMode gamemode_;
};

}  // namespace games
