/// Runs a piece of a test in a process of its own, where the platform is as fresh as at the start of the service.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

struct ChildOutput {
    int status;  ///< as waitpid() tells it: 0 when the body returned and none of its expectations failed
    std::string out;
    std::string err;

    std::vector<std::string> OutLines() const;
    std::vector<std::string> ErrLines() const;
};

/// The body runs with these variables, of which an empty value unsets, and with pipes as standard output and error.
/// A child that is not done after ten seconds is killed, which shows in its status. The caller has one thread only.
using Environment = std::map<std::string, std::string>;
ChildOutput RunInChild(const Environment& environment, const std::function<void()>& body);

/// Runs body(0) to body(count - 1) at the same time, each on a thread of its own, and waits for all of them.
void RunThreads(int count, const std::function<void(int)>& body);
