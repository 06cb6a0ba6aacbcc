#include "gamepad/games/game_list.h"

#include <glib.h>

#include <utility>

#include "gamepad/games/processes.h"
#include "gamepad/games/tracker.h"

namespace games {
namespace {

// The service's reader of the text turns menu mode on when it is empty. A game that is told of in between, and turned
// menu mode off, would be played with menu mode on.
constexpr gint64 kPauseAfterTextUs = 100000;

}  // namespace

GameList::GameList(ChangeFunction on_change, Turn turn)
    : on_change_(std::move(on_change)), tracker_(Tracker::Shared()) {
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
    return Tracker::TheLedger().TextAndHold(g_get_monotonic_time() + kPauseAfterTextUs);
}

}  // namespace games
