#include "gamepad/games/tracker.h"

#include <unistd.h>

#include <algorithm>

#include "gamepad/connected_pads.h"
#include "gamepad/games/pad_nodes.h"
#include "gamepad/games/processes.h"
#include "platform/dlog.h"

namespace games {
namespace {

std::weak_ptr<Tracker>& Current() {
    static auto& current = *new std::weak_ptr<Tracker>;  // outlives every thread
    return current;
}

}  // namespace

std::shared_ptr<Tracker> Tracker::Shared() {
    std::shared_ptr<Tracker> tracker = Current().lock();
    if (tracker == nullptr) {
        tracker = std::make_shared<Tracker>();
        Current() = tracker;
    }
    return tracker;
}

Ledger& Tracker::TheLedger() {
    static auto& ledger = *new Ledger;
    return ledger;
}

Tracker::Tracker()
    : telling_(thread_.Context(), [this] { Tell(); }),
      readers_(
          thread_.Context(), IgnoredReadersPath(), [] { return NodesOf(gamepad::ConnectedPads().All()); },
          [this](const std::vector<Reader>& readers) { SetReaders(readers); }),
      gamemode_(thread_.Context(), {[this](pid_t pid) { Add(pid, Source::kGameMode, "registered with GameMode"); },
                                    [this](pid_t pid) { Remove(pid, Source::kGameMode); },
                                    [this](const std::vector<pid_t>& pids) { SetRegistered(pids); }}) {
    FollowPads();
}

Tracker::~Tracker() {
    gamepad::ConnectedPads().Observe(nullptr);
    TheLedger().Clear();
}

/// Pads change on the gamepad library's thread. What it hands over may arrive when this tracker is gone.
void Tracker::FollowPads() {
    gamepad::ConnectedPads().Observe([this] {
        thread_.Post([] {
            if (const std::shared_ptr<Tracker> tracker = Current().lock()) {
                tracker->readers_.LookSoon();
            }
        });
    });
}

void Tracker::Join(GameList& list, GameList::Turn turn) {
    lists_[{turn, TheLedger().Join()}] = &list;
    telling_.At(0);
}

void Tracker::Leave(const GameList& list) {
    const auto found =
        std::find_if(lists_.begin(), lists_.end(), [&list](const auto& entry) { return entry.second == &list; });
    if (found != lists_.end()) {
        lists_.erase(found);
    }
}

void Tracker::Add(pid_t pid, Source source, const std::string& why) {
    if (pid <= 0 || pid == getpid() || !TheLedger().Add(pid, source)) {
        return;
    }
    watches_[pid] = std::make_unique<PidWatch>(thread_.Context(), pid, [this, pid] { Ended(pid); });
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "game opened: %s [%d], %s", NameOf(pid).executable.c_str(),
                 static_cast<int>(pid), why.c_str());
    telling_.At(0);
}

void Tracker::Remove(pid_t pid, Source source) {
    if (TheLedger().Remove(pid, source)) {
        Closed(pid);
    }
}

/// What it left to its children may still be open, which gives no other notice.
void Tracker::Ended(pid_t pid) {
    if (TheLedger().Erase(pid)) {
        Closed(pid);
        readers_.LookSoon();
    }
}

void Tracker::Closed(pid_t pid) {
    watches_.erase(pid);
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "game closed: [%d]", static_cast<int>(pid));
    telling_.At(0);
}

void Tracker::RemoveMissing(Source source, const std::vector<pid_t>& present) {
    for (const pid_t pid : TheLedger().Of(source)) {
        if (std::find(present.begin(), present.end(), pid) == present.end()) {
            Remove(pid, source);
        }
    }
}

void Tracker::SetRegistered(const std::vector<pid_t>& pids) {
    RemoveMissing(Source::kGameMode, pids);
    for (const pid_t pid : pids) {
        Add(pid, Source::kGameMode, "registered with GameMode");
    }
}

void Tracker::SetReaders(const std::vector<Reader>& readers) {
    std::vector<pid_t> pids;
    pids.reserve(readers.size());
    for (const Reader& reader : readers) {
        pids.push_back(reader.pid);
    }
    RemoveMissing(Source::kReader, pids);
    for (const Reader& reader : readers) {
        Add(reader.pid, Source::kReader, "reads " + reader.node);
    }
}

/// Each callback may give up shares, also the last one, and ask for new ones.
void Tracker::Tell() {
    const std::shared_ptr<Tracker> self = shared_from_this();
    while (!lists_.empty()) {
        const std::optional<Change> change = TheLedger().Take(g_get_monotonic_time());
        if (!change) {
            break;
        }
        TellAll(*change);
    }
    if (const std::optional<long long> due = TheLedger().DueAt()) {
        telling_.At(*due);
    }
}

void Tracker::TellAll(const Change& change) {
    Place told{GameList::Turn::kService, 0};
    for (auto next = lists_.begin(); next != lists_.end(); next = lists_.upper_bound(told)) {
        told = next->first;
        if (told.second >= change.first && told.second < change.end) {
            const GameList::ChangeFunction on_change = next->second->on_change_;  // the share may go meanwhile
            on_change(change.pid, change.is_open);
        }
    }
}

}  // namespace games
