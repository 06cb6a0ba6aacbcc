#pragma once

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../linux/games/temporary_folder.h"
#include "pad_testbed.h"

using Environment = std::map<std::string, std::string>;

/// What the program has said.
struct Said {
    int status = -1;
    std::string output;
    Json::Value json;

    /// The finding of this section whose text holds these words; null when there is none.
    Json::Value Finding(const std::string& section, const std::string& words) const;
};

/// The real program on a machine of the test's own: pads by umockdev, processes in a namespace, and in the environment
/// what the test has put there. At first there is nothing.
class Machine : public testing::Test {
protected:
    Machine();

    /// Runs it as JSON and reads that.
    Said Look();
    /// Runs it with these words on its command line.
    Said Run(const std::string& words);

    /// Shell commands that come before the program, where only it sees what they do.
    void Before(const std::string& command) { before_ += command + "\n"; }
    /// A /dev/uinput that can be opened.
    void HaveUinput() const;
    /// The service, running and printing its keys, in the program's namespace.
    void StartService(const std::string& variables = "");
    /// With rights that are not root's.
    void BeOrdinaryUser() { is_ordinary_user_ = true; }
    void Plug(const PadModel& model = StandardPad());
    std::string TestbedPath(const std::string& path) const;
    void WriteConfig(const std::string& name, const std::string& text) const;

    /// The finding, which has this mark; its remedy holds these words, or there is none where they are empty.
    void ExpectFinding(const Said& said, const std::string& section, const std::string& words, const std::string& mark,
                       const std::string& remedy = "") const;
    /// What a shell runs: the commands of Before, then the program; afterwards "status N".
    std::string Script(const std::string& words) const;

    Environment environment_;
    TemporaryFolder folder_;
    PadTestbed pads_;

private:
    std::string before_;
    bool is_ordinary_user_ = false;
};
