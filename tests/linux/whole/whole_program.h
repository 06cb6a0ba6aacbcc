#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../games/temporary_folder.h"
#include "pad_testbed.h"
#include "service.h"

using Environment = std::map<std::string, std::string>;

/// The real program on a machine that has one pad and prints its keys. Everything else is what the
/// test leaves in the environment: at first there is nothing, but for a folder of the test's own.
class WholeProgram : public testing::Test {
protected:
    WholeProgram();

    /// Starts it and waits for its first pass, before which the pad was there. The figure is printed.
    void Start(uid_t user = 0);
    /// The same, after `commands` have run as root where only the program sees what they mount.
    void StartAfter(const std::string& commands);
    /// A press and a release of the pad's button, which come out as keys.
    void ExpectKeys();
    /// Ends it in good order. All that the platform told are messages with these beginnings, each once, but for what it
    /// may tell or not.
    void ExpectGoodEndAfter(std::vector<std::string> told, const std::string& may_tell = "nothing else");
    void Plug(int pads = 1);
    Service& Running() { return *program_; }

    Environment environment_;
    TemporaryFolder folder_;
    PadTestbed pads_;

private:
    ServiceOptions Options(uid_t user) const;
    void AwaitFirstPass();
    std::vector<std::string> Messages();

    const std::string program_path_;
    Clock::time_point started_;
    std::unique_ptr<Service> program_;
};

/// How long the program may take from its start to its first pass on a machine that is busy with other tests; it takes
/// some ten milliseconds.
constexpr milliseconds kStartUp{10000};
