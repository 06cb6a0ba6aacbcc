#include "memory/memory.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <fstream>
#include <regex>
#include <string>

#include "own_settings.h"
#include "platform/screensaver.h"
#include "program.h"

namespace {

// In KiB, of the files that the process has mapped.
long FilePages() {
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("RssFile:", 0) == 0) {
            return std::stol(line.substr(line.find(':') + 1));
        }
    }
    return -1;
}

// A good deal of the C++ library.
bool Matches() {
    return std::regex_match("quorvex 12", std::regex("([a-z]+) ([0-9]+)"));
}

volatile int gWritten = 1;

TEST(Memory, IsNotOfHugePages) {
    EXPECT_EQ(prctl(PR_GET_THP_DISABLE, 0, 0, 0, 0), 1);
}

TEST(FilePages, AreGivenBack) {
    ASSERT_TRUE(Matches());
    const long before = FilePages();
    GiveBackFilePages();
    EXPECT_LT(FilePages(), before / 2) << before;
}

// Which comes every half a minute while a pad is used, and needs much that nothing else does.
TEST(FilePages, AreGivenBackAfterTheScreensaversAreReset) {
    const OwnSettings settings;
    ASSERT_TRUE(Matches());
    const long before = FilePages();
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(WaitUntil([before] { return FilePages() < before; })) << before << ", now " << FilePages();
}

TEST(FilePages, ComeBackWhenTheyAreNeeded) {
    GiveBackFilePages();
    EXPECT_TRUE(Matches());
}

TEST(FilePages, StayWhereSomethingWasWritten) {
    gWritten = 2;
    GiveBackFilePages();
    EXPECT_EQ(gWritten, 2);
}

}  // namespace
