#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libevdev/libevdev.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "fake_evdev.h"
#include "gamepad/mapping/built_in.h"
#include "gamepad/mapping/mapping.h"
#include "log_record.h"
#include "pads.h"

using namespace mapping;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const DeviceId kPad{3, 0xaaaa, 0xbbbb, 0x0111, "Made Up"};
const std::string kLine = "03000000aaaa0000bbbb000011010000";  // of kPad

class TheDatabase : public testing::Test {
protected:
    TheDatabase() {
        std::string pattern = testing::TempDir() + "mapping-XXXXXX";
        directory_ = mkdtemp(pattern.data());
        TakeLog();
    }
    ~TheDatabase() override { std::filesystem::remove_all(directory_); }

    std::string File(const std::string& name, const std::string& content) const {
        std::string path = directory_ + '/' + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    static std::string NameFound(const Sources& sources, const DeviceId& id = kPad) {
        Database database(sources);
        const auto mapping = database.Find(id);
        return mapping ? mapping->name : "";
    }

    std::string directory_;
};

TEST_F(TheDatabase, KnowsBuiltInPads) {
    EXPECT_EQ(NameFound({}, {3, 0x2dc8, 0x9000, 0x0111, "x"}), "8BitDo FC30 Pro");
    EXPECT_EQ(NameFound({}, {5, 0, 0, 0, "Lic Pro Controller"}), "Nintendo Switch Pro Controller");
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(TheDatabase, DoesNotKnowEveryDevice) {
    EXPECT_EQ(NameFound({}), "");
    EXPECT_EQ(NameFound({}, {}), "");
}

TEST_F(TheDatabase, HoldsBuiltInPadsByPlace) {
    Database database(Sources{});
    const auto mapping = database.Find({3, 0x2dc8, 0x9000, 0x0111, "x"});
    ASSERT_TRUE(mapping);
    const auto& bindings = mapping->bindings;
    const auto south = std::find_if(bindings.begin(), bindings.end(), [](auto& b) { return b.target == Target::a; });
    ASSERT_NE(south, bindings.end());
    EXPECT_EQ(south->source.index, 1);  // the lower button of this pad is labelled B and numbered 1
}

TEST_F(TheDatabase, LetsTheUsersFileWinOverTheEnvironmentOverTheBuiltIn) {
    const DeviceId id{3, 0x2dc8, 0x9000, 0x0111, "x"};
    const std::string guid = "03000000c82d00000090000011010000";
    const std::string environmentFile = File("env.txt", guid + ",Environment file,a:b0\n");
    const std::string userFile = File("user.txt", guid + ",User,a:b0\n");
    EXPECT_EQ(NameFound({environmentFile, "", ""}, id), "Environment file");
    EXPECT_EQ(NameFound({environmentFile, guid + ",Environment,a:b0", ""}, id), "Environment");
    EXPECT_EQ(NameFound({environmentFile, guid + ",Environment,a:b0", userFile}, id), "User");
}

TEST_F(TheDatabase, LetsTheLaterOfTwoLinesWin) {
    EXPECT_EQ(NameFound({"", kLine + ",First,a:b0\n" + kLine + ",Second,a:b0", ""}), "Second");
}

TEST_F(TheDatabase, FallsBackOnAnotherVersionOfThePad) {
    const std::string other = "03000000aaaa0000bbbb000022020000,Other version,a:b0\n";
    EXPECT_EQ(NameFound({"", other, ""}), "Other version");
    EXPECT_EQ(NameFound({"", kLine + ",Exact,a:b0\n" + other, ""}), "Exact");
}

TEST_F(TheDatabase, PrefersAMatchingChecksumToNoneToAnother) {
    char matching[8];
    std::snprintf(matching, sizeof matching, "%04x", NameChecksum(kPad.name));
    const std::string with = kLine + ",With,a:b0,crc:" + matching + '\n';
    const std::string without = kLine + ",Without,a:b0\n";
    const std::string wrong = kLine + ",Wrong,a:b0,crc:0bad\n";
    EXPECT_EQ(NameFound({"", with + without, ""}), "With");
    EXPECT_EQ(NameFound({"", without + wrong, ""}), "Without");
    EXPECT_EQ(NameFound({"", wrong, ""}), "Wrong");
}

TEST_F(TheDatabase, TellsOfEachMalformedLineWhereItStandsAndTakesTheOthers) {
    const std::string path = File("user.txt", "# mine\nrubbish\n\n" + kLine + ",Good,a:b0,b:oops\n" +
                                                  "x,y,platform:Windows\n" + kLine.substr(1) + ",Short,a:b0\n");
    EXPECT_EQ(NameFound({"", "nonsense", path}), "Good");
    EXPECT_THAT(
        TakeLog(),
        ElementsAre("QVXD: $SDL_GAMECONTROLLERCONFIG:1: \"nonsense\" is not a GUID of 32 hexadecimal digits; "
                    "the line is ignored",
                    "QVXD: " + path + ":2: \"rubbish\" is not a GUID of 32 hexadecimal digits; the line is ignored",
                    "QVXD: " + path + ":4: \"b:oops\" is not understood; this field is ignored",
                    "QVXD: " + path +
                        ":6: \"3000000aaaa0000bbbb000011010000\" is not a GUID of 32 hexadecimal "
                        "digits; the line is ignored"));
}

TEST_F(TheDatabase, TellsOnceUntilTheFileIsChanged) {
    const std::string path = File("user.txt", "rubbish\n");
    Database database({"", "nonsense", path});
    database.Find(kPad);
    EXPECT_THAT(TakeLog(), SizeIs(2));
    database.Find(kPad);
    EXPECT_THAT(TakeLog(), IsEmpty());
    File("user.txt", "other rubbish\n" + kLine + ",Edited,a:b0\n");
    EXPECT_EQ(database.Find(kPad)->name, "Edited");
    EXPECT_THAT(TakeLog(), ElementsAre(HasSubstr("other rubbish")));
}

TEST_F(TheDatabase, DoesNotFillTheLogWithAWrongFile) {
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += "line " + std::to_string(i) + '\n';
    }
    EXPECT_EQ(NameFound({"", "", File("user.txt", text + kLine + ",Last,a:b0")}), "Last");
    const auto log = TakeLog();
    EXPECT_THAT(log, SizeIs(11));
    EXPECT_THAT(log.back(), HasSubstr("990 more lines are malformed"));
}

TEST_F(TheDatabase, SurvivesBinaryFiles) {
    std::string bytes;
    unsigned state = 1;
    for (int i = 0; i < 2'000'000; ++i) {
        state = state * 1103515245U + 12345U;
        bytes += static_cast<char>(state >> 16U);
    }
    EXPECT_EQ(NameFound({"", "", File("user.txt", bytes + '\n' + kLine + ",Last,a:b0")}), "Last");
    EXPECT_THAT(TakeLog(), SizeIs(11));
}

TEST_F(TheDatabase, RefusesHugeFiles) {
    const std::string path = File("user.txt", "");
    std::filesystem::resize_file(path, 50U << 20U);
    EXPECT_EQ(NameFound({"", "", path}), "");
    EXPECT_THAT(TakeLog(),
                ElementsAre("QVXD: " + path + ": larger than 8388608 bytes; no controller mappings are taken from it"));
}

TEST_F(TheDatabase, TellsWhatIsInTheFilesPlaceOnce) {
    const std::string fifo = directory_ + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    Database database({directory_, "", fifo});
    database.Find(kPad);
    EXPECT_THAT(TakeLog(), ElementsAre(AllOf(HasSubstr(directory_ + ':'), HasSubstr("not a regular file")),
                                       AllOf(HasSubstr(fifo), HasSubstr("not a regular file"))));
    database.Find(kPad);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(TheDatabase, MissesOnlyAFileThatWasAskedFor) {
    EXPECT_EQ(NameFound({"", "", directory_ + "/none"}), "");
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(NameFound({directory_ + "/none", "", ""}), "");
    EXPECT_THAT(TakeLog(), ElementsAre(HasSubstr("No such file or directory")));
}

TEST_F(TheDatabase, TakesAFileWithoutALastNewline) {
    EXPECT_EQ(NameFound({"", "", File("user.txt", "\xEF\xBB\xBF" + kLine + ",Only,a:b0")}), "Only");
    EXPECT_EQ(NameFound({"", "", File("user.txt", "")}), "");
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(TheDatabase, MayBeAskedByManyThreads) {
    Database database({"", kLine + ",Mine,a:b0", ""});
    std::atomic<int> found{0};
    std::array<std::thread, 4> threads;
    for (auto& thread : threads) {
        thread = std::thread([&] {
            for (int n = 0; n < 20; ++n) {
                found += database.Find(kPad) ? 1 : 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, 80);
}

TEST_F(TheDatabase, TranslatesForAnOpenDevice) {
    FakeEvdev fake(kPad, NumberedPad());
    libevdev* opened = nullptr;
    ASSERT_EQ(libevdev_new_from_fd(fake.Descriptor(), &opened), 0);
    const std::unique_ptr<libevdev, decltype(&libevdev_free)> device(opened, libevdev_free);
    EXPECT_FALSE(Database(Sources{}).TranslatorFor(device.get()));
    auto translator = Database({"", kLine + ",Mine,a:b1", ""}).TranslatorFor(device.get());
    ASSERT_TRUE(translator);
    EXPECT_EQ(translator->Name(), "Mine");
    const Outputs outputs = translator->Translate(EV_KEY, BTN_THUMB, 1);
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_EQ(outputs.begin()->code, 0);
}

class TheUsersSources : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"SDL_GAMECONTROLLERCONFIG", "SDL_GAMECONTROLLERCONFIG_FILE", "XDG_CONFIG_HOME"}) {
            unsetenv(name);
        }
        setenv("HOME", "/home/someone", 1);
    }
};

TEST_F(TheUsersSources, AreNothingButAFileByDefault) {
    const Sources sources = Sources::OfThisUser();
    EXPECT_EQ(sources.environmentFile, "");
    EXPECT_EQ(sources.environmentText, "");
    EXPECT_EQ(sources.userFile, "/home/someone/.config/quorvex/gamecontrollerdb.txt");
}

TEST_F(TheUsersSources, FollowTheEnvironment) {
    setenv("SDL_GAMECONTROLLERCONFIG", "text", 1);
    setenv("SDL_GAMECONTROLLERCONFIG_FILE", "/some/file", 1);
    setenv("XDG_CONFIG_HOME", "/etc/mine", 1);
    const Sources sources = Sources::OfThisUser();
    EXPECT_EQ(sources.environmentFile, "/some/file");
    EXPECT_EQ(sources.environmentText, "text");
    EXPECT_EQ(sources.userFile, "/etc/mine/quorvex/gamecontrollerdb.txt");
}

TEST_F(TheUsersSources, TakeNoRelativePathAndDoWithoutAHome) {
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(Sources::OfThisUser().userFile, "/home/someone/.config/quorvex/gamecontrollerdb.txt");
    unsetenv("HOME");
    EXPECT_EQ(Sources::OfThisUser().userFile, "");
}

}  // namespace
