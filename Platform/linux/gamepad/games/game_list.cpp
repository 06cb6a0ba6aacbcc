#include "gamepad/games/game_list.h"

#include <glib.h>

#include <utility>

#include "gamepad/games/processes.h"
#include "gamepad/games/tracker.h"

namespace games {
namespace {

// The service registers, reads the text, turns menu mode on when that is empty, and cannot turn it off before the rest
// of its start is done, a matter of milliseconds. A game that it is told of in between would be played with menu mode
// on.
constexpr gint64 kPauseUs = 200000;

gint64 AfterPause() {
    return g_get_monotonic_time() + kPauseUs;
}

}  // namespace

GameList::GameList(ChangeFunction on_change, Turn turn)
    : on_change_(std::move(on_change)), tracker_(Tracker::Shared()) {
    if (turn == Turn::kService) {
        Tracker::TheLedger().HoldUntil(AfterPause());
    }
    tracker_->Join(*this, turn);
}

GameList::~GameList() {
    tracker_->Leave(*this);
}

bool GameList::Contains(pid_t pid) {
    return Tracker::TheLedger().Contains(pid);
}

pid_t GameList::Newest() {
    return Tracker::TheLedger().Newest();
}

pid_t GameList::GameAbove(pid_t pid) {
    return NearestAncestor(pid, Contains);
}

std::string GameList::Text() {
    return Tracker::TheLedger().TextAndHoldUntil(AfterPause());
}

}  // namespace games
