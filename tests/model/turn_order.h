#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

/// Who does something next in the model, and when: first those who were woken, in that order; then whoever is due
/// first, of those due at one moment the one who lay down first.
template <class Who>
class TurnOrder {
public:
    long now() const { return now_; }

    /// Ends the sleep of the one who sleeps. Who is awake already stays so.
    void Wake(Who who) {
        asleep_.erase(who);
        if (std::find(awake_.begin(), awake_.end(), who) == awake_.end()) {
            awake_.push_back(who);
        }
    }
    void SleepUntil(Who who, long due) { asleep_[who] = {due, ++sleeps_}; }

    /// The next one who was woken. False when there is none.
    bool TakeAwake(Who& who) {
        if (awake_.empty()) {
            return false;
        }
        who = awake_.front();
        awake_.pop_front();
        return true;
    }
    /// The next one due until then, as somebody who is awake; the time moves there. False moves it to the end.
    bool WakeNextUntil(long end) {
        const auto earlier = [](const auto& one, const auto& other) { return one.second < other.second; };
        const auto next = std::min_element(asleep_.begin(), asleep_.end(), earlier);
        if (next == asleep_.end() || next->second.first > end) {
            now_ = end;
            return false;
        }
        now_ = std::max(now_, next->second.first);
        Wake(next->first);
        return true;
    }

private:
    long now_ = 0;
    long sleeps_ = 0;
    std::deque<Who> awake_;
    std::map<Who, std::pair<long, long>> asleep_;  // until when, and how many lay down before
};
