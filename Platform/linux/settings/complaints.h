/// Tells each problem once, however often it is met: again only after its text has changed or it was over meanwhile.
///
/// Threads  any; the sink is called with the lock held and must not call back.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "locks/locks.h"
#include "settings/key_file.h"

class Complaints {
public:
    using Sink = std::function<void(const std::string& text)>;
    explicit Complaints(Sink sink) : sink_(std::move(sink)) {}

    void Tell(const Problem& problem);
    void Over(const std::string& about);
    /// Tells the reading's problem; a reading without one means that the earlier one is over.
    void Note(const Reading& reading);

private:
    const Sink sink_;
    Lock mutex_;
    std::map<std::string, std::string> told_ GUARDED_BY(mutex_);
};
