#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "fault_plan.h"

/// How a minute of the service's life ended in which one call failed.
struct Outcome {
    Fault fault;
    bool isReached = false;             ///< the life came to the call
    std::map<std::string, int> counts;  ///< how often each function was called
    std::vector<std::string> problems;  ///< what should not be, as sentences
};
void PrintTo(const Outcome& outcome, std::ostream* out);

/// Lives such a minute in this process, which may do so only once, and has one thread before and after.
Outcome LiveAMinute(const Fault& fault, const std::string& directory);

/// The same in processes of their own, as many at a time as there are processors. A process that crashes or does not
/// end has that problem. The caller has one thread.
std::vector<Outcome> LiveMinutes(const std::vector<Fault>& faults, const std::string& directory);

/// What the fault must lead to.
struct Consequence {
    int status = 0;
    std::string message;             ///< is logged; empty: none is promised
    std::vector<std::string> stays;  ///< what may stay behind in the platform, since just that was refused
    bool mayMisuse = false;          ///< a library that refused something is asked to take it back all the same
};
Consequence ConsequenceOf(const Fault& fault);
