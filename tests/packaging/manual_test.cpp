#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <utility>

#include "manual.h"
#include "program.h"
#include "settings/known_keys.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;

class APage : public testing::TestWithParam<std::string> {
protected:
    InstalledPages installed_;
};

TEST_P(APage, IsTypesetWithoutAWarning) {
    EXPECT_EQ(OutputOf("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z " +
                       installed_.File(GetParam()).string() + " 2>&1 >/dev/null; echo status $?"),
              "status 0");
}

TEST_P(APage, IsFreeOfWhatMandocWouldMend) {
    EXPECT_EQ(OutputOf("MANPATH=" + installed_.Folder().string() + " mandoc -Tlint -Wstyle " +
                       installed_.File(GetParam()).string() + " 2>&1; echo status $?"),
              "status 0");
}

std::string NameOf(const testing::TestParamInfo<std::string>& info) {
    return std::regex_replace(info.param, std::regex("[^a-z0-9]"), "_");
}

INSTANTIATE_TEST_SUITE_P(Every, APage, testing::ValuesIn(Pages()), NameOf);

TEST(TheManual, HasAPageForEachProgram) {
    for (const char* page : {"quorvex.8", "quorvex-settings.1", "quorvex-doctor.1", "quorvex-store-query.8",
                             "quorvex-settings.5", "quorvex-app-config.5"}) {
        EXPECT_THAT(Pages(), Contains(page));
    }
}

TEST(TheManual, NamesEveryKeyWithItsType) {
    const std::string page = TextOfPage("quorvex-settings.5");
    for (const KnownKey& key : kKnownKeys) {
        EXPECT_THAT(page, HasSubstr(std::string("\n.It Cm ") + key.name + " Pq " + TypeName(key.type) + '\n'));
    }
}

/// A program by its file's name, as it was built, and its page.
class TheHelp : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(TheHelp, NamesNoOptionThatThePageLeavesOut) {
    const auto& [program, page] = GetParam();
    const std::string help = OutputOf(std::string(program) + " --help");
    ASSERT_THAT(help, HasSubstr("Usage: "));
    const std::string text = TextOfPage(page);
    const std::regex option("--([a-z]+)");
    for (std::sregex_iterator match(help.begin(), help.end(), option), end; match != end; ++match) {
        EXPECT_THAT(text, HasSubstr("Fl -" + (*match)[1].str()));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, TheHelp,
                         testing::Values(std::pair(SETTINGS_FOLDER "/quorvex-settings", "quorvex-settings.1"),
                                         std::pair(DOCTOR, "quorvex-doctor.1")));

/// Every NAME of a getenv("NAME") in the programs' sources.
std::set<std::string> VariablesRead() {
    std::set<std::string> names;
    const std::regex call("getenv\\(\"([A-Z_]+)\"\\)");
    for (const char* folder : {"/Platform/linux", "/Common", "/EventHandler"}) {
        for (const auto& entry : fs::recursive_directory_iterator(std::string(TREE) + folder)) {
            const std::string text = entry.path().extension() == ".cpp" ? TextOf(entry.path()) : "";
            for (std::sregex_iterator match(text.begin(), text.end(), call), end; match != end; ++match) {
                names.insert((*match)[1]);
            }
        }
    }
    return names;
}

TEST(TheManual, NamesEveryVariableThatIsRead) {
    const std::string page = TextOfPage("quorvex.8");
    std::set<std::string> names = VariablesRead();
    ASSERT_GT(names.size(), 5U);
    names.erase("HOME");
    for (const std::string& name : names) {
        EXPECT_TRUE(std::regex_search(page, std::regex("\n\\.It Ev [A-Z_ ,]*\\b" + name + "\\b"))) << name;
    }
}

/// A home in which the lines of the page that show settings are run.
class TheLinesOfTheManual : public testing::Test {
protected:
    TheLinesOfTheManual() {
        char name[] = "/tmp/quorvex-lines-XXXXXX";
        home_ = mkdtemp(name);
    }
    ~TheLinesOfTheManual() override { fs::remove_all(home_); }

    std::string Run(const std::string& lines) const {
        const fs::path script = home_ / "lines";
        std::ofstream(script) << "set -e\n" << lines;
        return OutputOf("env -i HOME=" + home_.string() + " XDG_RUNTIME_DIR=" + home_.string() +
                        " PATH=" + SETTINGS_FOLDER ":$PATH sh " + script.string() + " 2>&1; echo status $?");
    }

    fs::path home_;
    const std::vector<std::string> blocks_ = LiteralBlocks("quorvex-settings.5");
};

constexpr char kThreeValues[] =
    "quorvex-settings get memory/accessory/playnest_status\n"
    "quorvex-settings get db/menu/connection/easy-wakeup\n"
    "quorvex-settings get db/menu/homeview/homedatacontrol/defaultdisclaimeragree\n";

TEST_F(TheLinesOfTheManual, SetWithTheProgram) {
    ASSERT_GE(blocks_.size(), 2U);
    EXPECT_EQ(Run(blocks_[0] + kThreeValues), "1000\n1\n1\nstatus 0");
}

TEST_F(TheLinesOfTheManual, SetWithAShellAlone) {
    ASSERT_GE(blocks_.size(), 2U);
    EXPECT_EQ(Run(blocks_[1] + kThreeValues), "1000\n1000\n1\n1\nstatus 0");
}

TEST_F(TheLinesOfTheManual, OfTheProgramsPageRun) {
    const std::vector<std::string> blocks = LiteralBlocks("quorvex-settings.1");
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_THAT(Run(blocks[0]), testing::AllOf(testing::StartsWith("1000\n"), testing::EndsWith("status 0")));
}

}  // namespace
