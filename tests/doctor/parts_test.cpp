// Looks at what a test can make only in files: readers of nodes, the journal, other uinput nodes.

#include <gmock/gmock.h>
#include <linux/input.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "../linux/games/child.h"
#include "../linux/games/temporary_folder.h"
#include "content.h"
#include "gamepad/games/ignored_readers.h"
#include "look/looks.h"
#include "program.h"
#include "report.h"
#include "watch/outcome.h"

namespace {

using doctor::Mark;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;

auto Is(Mark mark, const std::string& words, const std::string& remedy = "") {
    return AllOf(Field("mark", &doctor::Finding::mark, mark), Field("text", &doctor::Finding::text, HasSubstr(words)),
                 Field("remedy", &doctor::Finding::remedy, HasSubstr(remedy)));
}

class ALook : public testing::Test {
protected:
    ALook() { setenv("XDG_CONFIG_HOME", folder_.Path("config").c_str(), 1); }
    ~ALook() override { unsetenv("XDG_CONFIG_HOME"); }

    TemporaryFolder folder_;
    doctor::Notes notes_;
    const doctor::Catching catching_{notes_};
};

TEST_F(ALook, AProgramThatReadsAPadIsAGame) {
    folder_.Write("event5", "");
    const Child reader = ReaderOf(folder_.Path("event5"));
    const auto findings = [this] { return doctor::LookAtReaders({folder_.Path("event5")}, notes_).findings; };
    ASSERT_TRUE(WaitUntil([&] { return findings().front().mark == Mark::kLacks; }));
    EXPECT_THAT(findings(), ElementsAre(Is(Mark::kLacks,
                                           "(process " + std::to_string(reader.Pid()) + ") reads " +
                                               folder_.Path("event5") + ": counts as a game",
                                           ">> " + folder_.Path("config/quorvex/ignored-readers"))));
    EXPECT_TRUE(findings().front().facts["game"].asBool());
}

TEST_F(ALook, AProgramThatTheUserNamedIsNoGame) {
    folder_.Write("config/quorvex/ignored-readers", "dash\nsh\nbash\n/\n");
    folder_.Write("event5", "");
    const Child reader = ReaderOf(folder_.Path("event5"));
    const auto findings = [this] { return doctor::LookAtReaders({folder_.Path("event5")}, notes_).findings; };
    ASSERT_TRUE(WaitUntil([&] { return findings().front().text.find("(process ") != std::string::npos; }));
    EXPECT_THAT(findings().front(), Is(Mark::kWorks, "reads " + folder_.Path("event5") + ": no game"));
}

TEST_F(ALook, AnIgnoredReadersFileThatIsNoGoodIsTold) {
    folder_.Write("config/quorvex/ignored-readers", "steam\n/\n");
    EXPECT_THAT(doctor::LookAtReaders({}, notes_).findings,
                Contains(Is(Mark::kLacks, "ignored-readers: line 2", "mend or delete that line")));
}

TEST_F(ALook, NobodyReadsANodeThatIsNotThere) {
    EXPECT_THAT(doctor::LookAtReaders({folder_.Path("event5")}, notes_).findings,
                ElementsAre(Is(Mark::kWorks, "nobody")));
}

TEST_F(ALook, TheServiceTakesTheDoctorForNoGame) {
    EXPECT_THAT(games::AlwaysIgnored(), Contains("quorvex-doctor"));
}

TEST_F(ALook, AUinputThatFailsInAnotherWayIsTold) {
    const std::string node = folder_.Path("uinput");
    ASSERT_EQ(mkdir(node.c_str(), 0700), 0);
    EXPECT_THAT(doctor::LookAtKeys(node, notes_).findings.front(),
                Is(Mark::kBroken, node + " cannot be opened: Is a directory", "sudo modprobe uinput"));
}

// Real journal files, as the journal's own tool writes them.
TEST_F(ALook, TheServicesLastErrorsAreTold) {
    std::string entries;
    for (int i = 1; i <= 5; ++i) {
        entries +=
            "__REALTIME_TIMESTAMP=170000000" + std::to_string(i) +
            "000000\n__MONOTONIC_TIMESTAMP=" + std::to_string(i) +
            "\n_BOOT_ID=0123456789abcdef0123456789abcdef\nSYSLOG_IDENTIFIER=QVXD\nPRIORITY=" + (i == 2 ? "6" : "3") +
            "\n_UID=" + std::to_string(geteuid()) +
            "\nMESSAGE=" + (i == 5 ? "main.cpp: main(1) > quorvex Exit" : "error number " + std::to_string(i)) + "\n\n";
    }
    folder_.Write("journal/entries", entries);
    OutputOf("/lib/systemd/systemd-journal-remote -o " + folder_.Path("journal/all.journal") + " " +
             folder_.Path("journal/entries") + " 2>&1");
    const doctor::Section section = doctor::LookAtService(folder_.Path("journal"));
    const auto& last = section.findings.back();
    EXPECT_THAT(last, Is(Mark::kLacks, "its last errors:", "journalctl --user -t QVXD"));
    EXPECT_THAT(last.details,
                ElementsAre(HasSubstr("error number 1"), HasSubstr("error number 3"), HasSubstr("error number 4")));
    EXPECT_THAT(last.details.front(), HasSubstr("2023-11-1"));
}

TEST_F(ALook, AJournalWithoutErrorsTellsNothing) {
    folder_.Write("journal/nothing", "");
    for (const doctor::Finding& finding : doctor::LookAtService(folder_.Path("journal")).findings) {
        EXPECT_THAT(finding.text, testing::Not(HasSubstr("last errors")));
    }
}

// What a process that ends while it is looked at does, too.
TEST_F(ALook, AFileThatCannotBeReadIsAnEmptyOne) {
    folder_.Write("folder/file", std::string("a\0b\n", 4));
    EXPECT_EQ(doctor::ContentOf(folder_.Path("folder/file")), std::string("a\0b\n", 4));
    EXPECT_EQ(doctor::ContentOf(folder_.Path("folder")), "");
    EXPECT_EQ(doctor::ContentOf(folder_.Path("nothing")), "");
}

TEST(AnOutcome, TellsThatHomeIsTimedForFourPadsOnly) {
    doctor::Handled home;
    home.device = 4;
    home.input = {EV_KEY, 14, 1};
    home.words = {"[HomeKey]invalid device id:[4]"};
    EXPECT_EQ(doctor::EventText(home), "Home pressed");
    EXPECT_EQ(doctor::OutcomeText(home, {}), "nothing: only the first four pads may hold Home");
}

TEST(AReport, IsColouredAtATerminal) {
    const doctor::Report report{{"keys", "Keys", {doctor::Broken("no", "mend it"), doctor::Works("yes")}}};
    EXPECT_EQ(doctor::AsText(report, {/*has_marks=*/true, /*has_colours=*/true}),
              "Keys\n  \033[1;31m✗ \033[0mno\n    → mend it\n  \033[32m✓ \033[0myes\n1 broken.\n");
}

TEST(AReport, FoldsLongDetailsBehindCommas) {
    doctor::Finding finding = doctor::Works("pad");
    finding.details = {"sends " + std::string(60, 'a') + ", " + std::string(60, 'b') + ", c"};
    EXPECT_EQ(doctor::AsText({{"pads", "Pads", {finding}}}, {/*has_marks=*/false, /*has_colours=*/false}),
              "Pads\n  ok pad\n      sends " + std::string(60, 'a') + ",\n      " + std::string(60, 'b') +
                  ", c\nAll that is needed works.\n");
}

TEST(AReport, WorksWhenNothingIsBroken) {
    EXPECT_TRUE(doctor::AllNeededWorks({{"a", "A", {doctor::Works("x"), doctor::Lacks("y", "z")}}}));
    EXPECT_FALSE(doctor::AllNeededWorks({{"a", "A", {doctor::Works("x"), doctor::Broken("y", "z")}}}));
}

}  // namespace
