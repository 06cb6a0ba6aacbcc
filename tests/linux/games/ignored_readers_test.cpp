#include "gamepad/games/ignored_readers.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "events/events_thread.h"
#include "temporary_folder.h"

namespace games {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NamesOfIgnoredReaders, AreOneALine) {
    std::vector<std::string> complaints;
    EXPECT_THAT(ReadNames("one\n\n  two words \t\r\n# none\nthree # because\n/usr/bin/four", complaints),
                ElementsAre("four", "one", "three", "two words"));
    EXPECT_THAT(complaints, IsEmpty());
}

TEST(NamesOfIgnoredReaders, AreComplainedOfWhenThereIsNone) {
    std::vector<std::string> complaints;
    EXPECT_THAT(ReadNames("one\n/usr/bin/\n", complaints), ElementsAre("one"));
    EXPECT_THAT(complaints, ElementsAre("line 2: \"/usr/bin/\" names no program"));
}

TEST(TheBuiltInNames, CanBeSearched) {
    EXPECT_TRUE(std::is_sorted(AlwaysIgnored().begin(), AlwaysIgnored().end()));
    EXPECT_EQ(std::adjacent_find(AlwaysIgnored().begin(), AlwaysIgnored().end()), AlwaysIgnored().end());
}

class IgnoredByFile : public testing::Test {
protected:
    ~IgnoredByFile() override {
        thread_.Run([this] { ignored_.reset(); });
    }
    void Open() {
        thread_.Run([this] {
            ignored_.emplace(thread_.Context(), folder_.Path("names"), [] {});
            ignored_->Refresh();
        });
    }
    bool Ignores(const ProcessName& name) {
        bool result = false;
        thread_.Run([&] {
            ignored_->Refresh();
            result = ignored_->Contains(name);
        });
        return result;
    }

    TemporaryFolder folder_;
    EventsThread thread_;
    std::optional<IgnoredReaders> ignored_;
};

TEST_F(IgnoredByFile, IsNobodyElseWithoutAFile) {
    Open();
    EXPECT_TRUE(Ignores({"sway", "sway"}));
    EXPECT_TRUE(Ignores({"gnome-shell", "gnome-shell"}));
    EXPECT_FALSE(Ignores({"retroarch", "retroarch"}));
    EXPECT_FALSE(Ignores({"steam", "steam"}));
    EXPECT_FALSE(Ignores({"", ""}));
}

TEST_F(IgnoredByFile, IsKnownByExecutableOrByCommand) {
    folder_.Write("names", "mapper\n");
    Open();
    EXPECT_TRUE(Ignores({"mapper", "worker thread"}));
    EXPECT_TRUE(Ignores({"python3.11", "mapper"}));
    EXPECT_FALSE(Ignores({"python3.11", "game"}));
    EXPECT_TRUE(Ignores({"sway", "sway"}));
}

TEST_F(IgnoredByFile, IsKnownByTheStartOfALongCommand) {
    folder_.Write("names", "mapper-of-many-pads\n");
    Open();
    EXPECT_TRUE(Ignores({"python3.11", "mapper-of-many-"}));
    EXPECT_FALSE(Ignores({"python3.11", "mapper-of"}));
}

TEST_F(IgnoredByFile, IsWhoTheFileNamesNow) {
    folder_.Write("names", "one\n");
    Open();
    EXPECT_TRUE(Ignores({"one", ""}));
    folder_.Replace("names", "two2\n");
    EXPECT_TRUE(Ignores({"two2", ""}));
    EXPECT_FALSE(Ignores({"one", ""}));
    std::filesystem::remove(folder_.Path("names"));
    EXPECT_FALSE(Ignores({"two2", ""}));
}

TEST_F(IgnoredByFile, IsNobodyElseWhenTheFileCannotBeRead) {
    std::filesystem::create_directory(folder_.Path("names"));
    Open();
    EXPECT_FALSE(Ignores({"names", ""}));
    EXPECT_TRUE(Ignores({"sway", ""}));
    std::filesystem::remove(folder_.Path("names"));
    mkfifo(folder_.Path("names").c_str(), 0600);
    EXPECT_TRUE(Ignores({"sway", ""}));
    std::filesystem::remove(folder_.Path("names"));
    folder_.Write("names", "one\n" + std::string(100000, '#') + "\n");
    EXPECT_FALSE(Ignores({"one", ""}));
    folder_.Replace("names", "one\n");
    EXPECT_TRUE(Ignores({"one", ""}));
}

}  // namespace
}  // namespace games
