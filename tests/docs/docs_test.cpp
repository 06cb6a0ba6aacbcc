// Who types what the README and the documents say gets what they promise.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "command.h"
#include "document.h"
#include "known_commands.h"
#include "source_tree.h"

namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;

std::vector<std::string> Documents() {
    std::vector<std::string> files = FilesBelow("docs", {".md"});
    files.insert(files.end(), {"README.md", "CONTRIBUTING.md", "CHANGELOG.md"});
    return files;
}

std::vector<Told> AllTold() {
    std::vector<Told> all;
    for (const std::string& file : Documents()) {
        const std::vector<Told> some = ToldIn(file);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

/// The same command in several places is run once.
std::vector<Told> EachOnce() {
    std::vector<Told> all;
    std::set<std::vector<std::string>> seen;
    for (const Told& told : AllTold()) {
        if (seen.insert(told.lines).second) {
            all.push_back(told);
        }
    }
    return all;
}

/// A home of its own, and the programs of this build.
class Sandbox {
public:
    Sandbox() {
        std::string folder = fs::temp_directory_path() / "docs-test-XXXXXX";
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        folder_ = folder;
        fs::create_directory(folder_ / "run");
    }
    ~Sandbox() { fs::remove_all(folder_); }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    Finished Run(const std::string& script) const {
        const std::string file = folder_ / "script";
        std::ofstream(file) << "set -eu\n" << script;
        return ::Run("cd " + Quoted(SOURCE_DIRECTORY) +
                     " && env -u XDG_CONFIG_HOME -u XDG_STATE_HOME -u XDG_DATA_HOME" + Set("HOME", folder_) +
                     Set("XDG_RUNTIME_DIR", folder_ / "run") + Set("SANDBOX", folder_) + Set("TREE", SOURCE_DIRECTORY) +
                     Set("BUILD", BUILD_DIRECTORY) +
                     Set("PATH", std::string(SETTINGS_FOLDER) + ":" + BUILD_DIRECTORY + ":" + getenv("PATH")) +
                     " GTEST_OUTPUT= bash " + Quoted(file) + " < /dev/null");
    }

private:
    static std::string Set(const std::string& variable, const std::string& value) {
        return " " + variable + "=" + Quoted(value);
    }

    fs::path folder_;
};

TEST(TheDocuments, TellToTypeSomething) {
    EXPECT_GT(EachOnce().size(), 15U);
}

TEST(TheDocuments, MarkEachBlockOfCommandsAsSh) {
    for (const std::string& file : Documents()) {
        for (const Told& told : UnmarkedIn(file)) {
            ADD_FAILURE() << told;
        }
    }
}

TEST(TheKnownCommands, AreAllToldSomewhereAndRunSomething) {
    std::set<std::string> told;
    for (const Told& some : AllTold()) {
        told.insert(some.lines.begin(), some.lines.end());
    }
    const KnownCommands known;
    for (const auto& [command, script] : known.All()) {
        EXPECT_EQ(told.count(command), 1U) << command << " stands in no document any more";
        EXPECT_NE(script, "") << command;
    }
}

class WhatIsTold : public ::testing::TestWithParam<Told> {};

TEST_P(WhatIsTold, CanBeTyped) {
    const KnownCommands known;
    std::string script;
    for (const std::string& line : GetParam().lines) {
        const auto run = known.ScriptFor(line);
        ASSERT_TRUE(run) << GetParam().file << ": tests/docs/commands does not know: " << line;
        script += *run;
    }
    const Finished finished = Sandbox().Run(script);
    EXPECT_EQ(finished.status, 0) << GetParam() << "\n" << script << finished.output;
}

std::string NameOf(const ::testing::TestParamInfo<Told>& test) {
    std::string name = test.param.file.substr(test.param.file.rfind('/') + 1) + "_" + std::to_string(test.param.line) +
                       "_" + std::to_string(test.index);
    for (char& letter : name) {
        letter = isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(InADocument, WhatIsTold, ::testing::ValuesIn(EachOnce()), NameOf);

Finished Help(const std::string& words) {
    return Run(Quoted(InTree("scripts/help")) + " " + words);
}

TEST(TheScripts, AreAllListedWithTheirUse) {
    const Finished all = Help("");
    EXPECT_EQ(all.status, 0);
    for (const auto& entry : fs::directory_iterator(InTree("scripts"))) {
        if (entry.is_regular_file()) {
            const std::string name = entry.path().filename();
            EXPECT_THAT(all.output, HasSubstr("scripts/" + name + "\n    "));
            EXPECT_THAT(all.output, HasSubstr("      scripts/" + name)) << "no line of its use";
            EXPECT_THAT(all.output, HasSubstr(Help(name).output));
        }
    }
}

TEST(TheScripts, ThatAreNotThereAreNamed) {
    const Finished help = Help("nothing");
    EXPECT_EQ(help.status, 2);
    EXPECT_EQ(help.output, "There is no scripts/nothing\n");
}

}  // namespace
