/// What this process holds, round after round: for tests that it does not grow.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct Footprint {
    size_t descriptors;
    size_t threads;
    size_t allocated;  ///< bytes, as far as the allocator knows: what it caches for threads is among them
    size_t resident;   ///< bytes; the allocator and the sanitizers keep what they once had, so no test is made of it
};

class Footprints {
public:
    /// Has room for so many, so that taking them does not show in them.
    explicit Footprints(size_t rounds) { all_.reserve(rounds); }
    void Take();
    /// The last third of the rounds has fallen back to what the first third had at most, but for 8 KiB of allocated
    /// memory: a round may be caught in the middle of something, and what grows does not fall back.
    bool AreFlat() const;
    /// The medians of the first and the last third, for people.
    std::string Text() const;

private:
    enum Rank { kLowest, kMedian, kHighest };
    Footprint First(Rank rank) const { return Of(0, all_.size() / 3, rank); }
    Footprint Last(Rank rank) const { return Of(all_.size() - all_.size() / 3, all_.size(), rank); }
    Footprint Of(size_t begin, size_t end, Rank rank) const;

    std::vector<Footprint> all_;
};
