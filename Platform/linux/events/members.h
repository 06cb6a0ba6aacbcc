#pragma once

#include <algorithm>
#include <vector>

/// Those who have joined something and are told of what happens to it.
///
/// Threads  one.
template <typename Member>
class Members {
public:
    void Add(Member& member) { all_.push_back(&member); }
    void Remove(Member& member) { all_.erase(std::remove(all_.begin(), all_.end(), &member), all_.end()); }
    template <typename Predicate>
    bool Any(const Predicate& holds) const {
        return std::any_of(all_.begin(), all_.end(), [&](Member* member) { return holds(*member); });
    }
    /// A call may add and remove members: who was added is not called in this round, who was removed not any more.
    template <typename Function>
    void ForEach(const Function& call) const {
        const std::vector<Member*> now = all_;
        for (Member* member : now) {
            if (std::find(all_.begin(), all_.end(), member) != all_.end()) {
                call(*member);
            }
        }
    }

private:
    std::vector<Member*> all_;
};
