// The file in which a user names other keys: its text, and the file itself under a running remote.

#include "virtual_key/key_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "child_process.h"
#include "platform/virtual_key.h"
#include "virtual_key/key_codes.h"

namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;

// What is wrong with a text, sentence by sentence.
std::vector<std::string> Complaints(const std::string& text) {
    std::vector<std::string> complaints;
    ReadKeyTable(text, complaints);
    return complaints;
}

KeyTable Table(const std::string& text) {
    std::vector<std::string> complaints;
    KeyTable table = ReadKeyTable(text, complaints);
    EXPECT_THAT(complaints, IsEmpty());
    return table;
}

TEST(AKeyMapsText, NamesAKeyOnEachLine) {
    EXPECT_THAT(Table("# mine\n\n  71\tKEY_HOMEPAGE # home\r\n572 KEY_PROG1\n9 KEY_ENTER"),
                ElementsAre(Pair(9, 36), Pair(71, 180), Pair(572, 156)));
    EXPECT_THAT(Table(""), IsEmpty());
}

TEST(AKeyMapsText, MayNameAKeyForEachOfTheTvsOwn) {
    std::string text;
    const std::vector<int> codes = {71, 572, 571, 148, 74, 95, 96, 75, 76, 124};
    for (const int code : codes) {
        text += std::to_string(code) + " KEY_STOP\n";
    }
    EXPECT_EQ(Table(text).size(), codes.size());
}

TEST(AKeyMapsText, IsToldWhatIsWrongByLine) {
    EXPECT_THAT(
        Complaints("71 KEY_HOMEPAGEE\n71\nhome KEY_HOME\n8 KEY_HOME\n776 KEY_HOME\n71 KEY_HOME now\n\n74 key_home\n"),
        ElementsAre("line 1: \"KEY_HOMEPAGEE\" is no name of a key; the line is left out",
                    AllOf(StartsWith("line 2: a line is a key code and a key name"), HasSubstr("\"71 KEY_HOMEPAGE\"")),
                    "line 3: \"home\" is no key code; these go from 9 to 775; the line is left out",
                    StartsWith("line 4: \"8\" is no key code"), StartsWith("line 5: \"776\" is no key code"),
                    StartsWith("line 6: a line is"), StartsWith("line 8: \"key_home\" is no name of a key")));
}

TEST(AKeyMapsText, MayNotNameWhatCannotBeSent) {
    EXPECT_THAT(Complaints("71 BTN_SOUTH\n71 KEY_LEFTCTRL\n71 KEY_RESERVED\n71 ABS_X\n"),
                ElementsAre(StartsWith("line 1: BTN_SOUTH is refused: it is a button"),
                            StartsWith("line 2: KEY_LEFTCTRL is refused: left Ctrl"),
                            StartsWith("line 3: KEY_RESERVED is refused: the kernel has no such key"),
                            StartsWith("line 4: \"ABS_X\" is no name of a key")));
}

TEST(AKeyMapsText, CountsTheFirstLineForACode) {
    std::vector<std::string> complaints;
    EXPECT_THAT(ReadKeyTable("71 KEY_HOMEPAGE\n71 KEY_MENU\n", complaints), ElementsAre(Pair(71, 180)));
    EXPECT_THAT(complaints, ElementsAre(StartsWith("line 2: an earlier line names the key for 71 already")));
}

/// A printing remote in a process of its own, with a folder for its configuration.
class ARemoteWithAKeyMap : public ::testing::Test {
protected:
    ARemoteWithAKeyMap() {
        std::string root = fs::temp_directory_path() / "keymap-XXXXXX";
        EXPECT_NE(mkdtemp(root.data()), nullptr);
        root_ = root;
    }
    ~ARemoteWithAKeyMap() override { fs::remove_all(root_); }

    Environment Printing(const std::string& level = "error") const {
        return {{"QUORVEX_KEYS", "print"}, {"QUORVEX_LOG", level}, {"JOURNAL_STREAM", ""}, {"XDG_CONFIG_HOME", root_}};
    }
    std::string File() const { return root_ / "quorvex/keymap"; }
    // As an editor does: another file takes the place of the old one.
    void Write(const std::string& text) const {
        fs::create_directories(root_ / "quorvex");
        std::ofstream(root_ / "quorvex/new") << text;
        fs::rename(root_ / "quorvex/new", File());
    }
    // Once the map is the expected one, which is looked at without a key: inside the child only.
    static void WaitUntilPrinted(int code, const std::string& line, const std::string& output) {
        for (int i = 0; i < 5000; ++i) {
            VirtualKey_Send_KeyCode(code, KEY_ACTION_AUTO_PRESS_RELEASE);
            std::ifstream file(output);
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            if (text.size() >= line.size() && text.compare(text.size() - line.size(), line.size(), line) == 0) {
                return;
            }
            usleep(2000);
        }
        ADD_FAILURE() << "never printed: " << line;
    }

    fs::path root_;
};

TEST_F(ARemoteWithAKeyMap, PrintsTheUsersKeysFromTheStart) {
    Write("71 KEY_HOMEPAGE\n571 KEY_CONTEXT_MENU\n");
    const ChildOutput output = RunInChild(Printing(), [] {
        VirtualKey_Initialize("x");
        for (const int code : {71, 571, 572}) {
            VirtualKey_Send_KeyCode(code, KEY_ACTION_AUTO_PRESS_RELEASE);
        }
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_HOMEPAGE 180 press+release", "KEY_CONTEXT_MENU 446 press+release",
                                               "REMOTE_PLAYDECK 572 press+release"));
    EXPECT_EQ(output.err, "");
}

TEST_F(ARemoteWithAKeyMap, TellsFileAndLineOfWhatIsWrong) {
    Write("# keys\n71 KEY_HOMEPAGEE\n74 KEY_MENU\n");
    const ChildOutput output = RunInChild(Printing(), [] {
        VirtualKey_Initialize("x");
        VirtualKey_Send_KeyCode(71, KEY_ACTION_AUTO_PRESS_RELEASE);
        VirtualKey_Send_KeyCode(74, KEY_ACTION_AUTO_PRESS_RELEASE);
        VirtualKey_Finalize();
    });
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_F5 71 press+release", "KEY_MENU 147 press+release"));
    EXPECT_THAT(output.ErrLines(),
                ElementsAre(AllOf(HasSubstr(File() + ": line 2: \"KEY_HOMEPAGEE\" is no name"), EndsWith("left out"))));
}

TEST_F(ARemoteWithAKeyMap, FollowsTheFileWhileItRuns) {
    const std::string printed = root_ / "printed";
    const ChildOutput output = RunInChild(Printing(), [&] {
        ASSERT_NE(freopen(printed.c_str(), "w", stdout), nullptr);
        VirtualKey_Initialize("x");
        WaitUntilPrinted(71, "KEY_F5 71 press+release\n", printed);
        Write("71 KEY_HOMEPAGE\n");
        WaitUntilPrinted(71, "KEY_HOMEPAGE 180 press+release\n", printed);
        std::ofstream(File()) << "71 KEY_MENU\nwrong\n";
        WaitUntilPrinted(71, "KEY_MENU 147 press+release\n", printed);
        fs::remove_all(root_ / "quorvex");
        WaitUntilPrinted(71, "KEY_F5 71 press+release\n", printed);
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0) << output.out << output.err;
    EXPECT_THAT(output.ErrLines(), ElementsAre(HasSubstr(File() + ": line 2: a line is")));
}

TEST_F(ARemoteWithAKeyMap, SendsEveryKeyAsItIsWhereTheFileCannotBeRead) {
    fs::create_directories(File());
    const ChildOutput output = RunInChild(Printing(), [] {
        VirtualKey_Initialize("x");
        VirtualKey_Send_KeyCode(71, KEY_ACTION_AUTO_PRESS_RELEASE);
        VirtualKey_Finalize();
    });
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_F5 71 press+release"));
    EXPECT_THAT(output.ErrLines(), ElementsAre(HasSubstr(File() + ": Invalid argument; every key is sent as it is")));
}

TEST_F(ARemoteWithAKeyMap, ForgetsTheFileOfAnEarlierLife) {
    const ChildOutput output = RunInChild(Printing("info"), [this] {
        for (const char* const text : {"71 KEY_HOMEPAGE\n", ""}) {
            Write(text);
            VirtualKey_Initialize("x");
            VirtualKey_Send_KeyCode(71, KEY_ACTION_AUTO_PRESS_RELEASE);
            VirtualKey_Finalize();
        }
    });
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_HOMEPAGE 180 press+release", "KEY_F5 71 press+release"));
    EXPECT_THAT(output.ErrLines(), Contains(HasSubstr(File() + ": keys that are sent as others: 1")));
}

}  // namespace
