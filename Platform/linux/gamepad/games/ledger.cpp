#include "gamepad/games/ledger.h"

#include <algorithm>

namespace games {

bool Ledger::NoteLocked(bool is_change, pid_t pid, bool is_open) {
    if (is_change) {
        untold_.push_back({pid, is_open, 0, joined_});
    }
    return is_change;
}

bool Ledger::Add(pid_t pid, Source source) {
    const Hold hold(lock_);
    return NoteLocked(games_.Add(pid, source), pid, true);
}

bool Ledger::Remove(pid_t pid, Source source) {
    const Hold hold(lock_);
    return NoteLocked(games_.Remove(pid, source), pid, false);
}

bool Ledger::Erase(pid_t pid) {
    const Hold hold(lock_);
    return NoteLocked(games_.Erase(pid), pid, false);
}

void Ledger::Clear() {
    const Hold hold(lock_);
    games_ = GameSet();
    untold_.clear();
}

unsigned long long Ledger::Join() {
    const Hold hold(lock_);
    const unsigned long long number = joined_++;
    for (const pid_t pid : games_.Pids()) {
        untold_.push_back({pid, true, number, number + 1});
    }
    return number;
}

std::optional<Change> Ledger::Take(long long now) {
    const Hold hold(lock_);
    if (untold_.empty() || now < held_until_) {
        return std::nullopt;
    }
    const Change change = untold_.front();
    untold_.pop_front();
    return change;
}

std::optional<long long> Ledger::DueAt() const {
    const Hold hold(lock_);
    return untold_.empty() ? std::nullopt : std::optional<long long>(held_until_);
}

bool Ledger::Contains(pid_t pid) const {
    const Hold hold(lock_);
    return games_.Contains(pid);
}

pid_t Ledger::Newest() const {
    const Hold hold(lock_);
    return games_.Newest();
}

std::vector<pid_t> Ledger::Of(Source source) const {
    const Hold hold(lock_);
    return games_.Of(source);
}

void Ledger::HoldUntilLocked(long long time) {
    held_until_ = std::max(held_until_, time);
}

void Ledger::HoldUntil(long long time) {
    const Hold hold(lock_);
    HoldUntilLocked(time);
}

std::string Ledger::TextAndHoldUntil(long long time) {
    const Hold hold(lock_);
    HoldUntilLocked(time);
    std::string text;
    for (const pid_t pid : games_.Pids()) {
        text += (text.empty() ? "" : ",") + std::to_string(pid);
    }
    return text;
}

}  // namespace games
