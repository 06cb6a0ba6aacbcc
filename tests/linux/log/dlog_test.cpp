#include "platform/dlog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

const Environment kEverything = {{"QUORVEX_LOG", "debug"}, {"JOURNAL_STREAM", ""}};

void LogEachLevel() {
    __dlog_print(LOG_ID_MAIN, DLOG_DEBUG, "T", "fine");
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "usual");
    __dlog_print(LOG_ID_SYSTEM, DLOG_ERROR, "T", "bad");
}

std::vector<std::string> LinesWith(const std::string& setting) {
    return RunInChild({{"QUORVEX_LOG", setting}}, LogEachLevel).ErrLines();
}

TEST(AMessage, IsOneLineWithLevelTagAndText) {
    EXPECT_THAT(RunInChild(kEverything, LogEachLevel).ErrLines(),
                ElementsAre("debug T: fine", "info T: usual", "error [system] T: bad"));
}

TEST(AMessage, IsFormattedAsPrintfDoes) {
    const ChildOutput output = RunInChild(kEverything, [] {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: %s(%d) > val[%ld] %5.1f %x %%", "main.cpp", "main", 35, -7L,
                     2.25, 255u);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "info QVXD: main.cpp: main(35) > val[-7]   2.2 ff %\n");
}

TEST(AMessage, TakesNullTexts) {
    const char* volatile nothing = nullptr;
    const ChildOutput output =
        RunInChild(kEverything, [&] { __dlog_print(LOG_ID_MAIN, DLOG_INFO, nullptr, "countrycode = %s", nothing); });
    EXPECT_EQ(output.err, "info QVXD: countrycode = (null)\n");
}

TEST(AMessage, StaysOneLineWhateverItCarries) {
    const ChildOutput output = RunInChild(kEverything, [] {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "a\nb", "Parse json file err[%s]", "* Line 1\n  Syntax\x1b[2J \xff\n");
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "info a\\nb: Parse json file err[* Line 1\\n  Syntax\\x1b[2J \\xff\\n]\n");
}

TEST(AMessage, OfAMillionCharactersIsCutAndMarked) {
    const ChildOutput output = RunInChild(kEverything, [] {
        const std::string text(1000000, 'x');
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", text.c_str());
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err.size(), 2048u);
    EXPECT_THAT(output.err, StartsWith("info T: xxx"));
    EXPECT_EQ(output.err.substr(2048 - 8), "x [cut]\n");
}

TEST(AMessage, ThatCannotBeFormattedShowsItsFormat) {
    const ChildOutput output = RunInChild(kEverything, [] {
        const wchar_t unknown[] = {0x7fffffff, 0};
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "wide %ls", unknown);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "info T: (cannot be formatted) wide %ls\n");
}

TEST(AMessage, LeavesErrnoAlone) {
    const ChildOutput output = RunInChild(kEverything, [] {
        errno = EDOM;
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "text");
        close(STDERR_FILENO);
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "text");
        std::exit(errno == EDOM ? 7 : 1);
    });
    EXPECT_EQ(WEXITSTATUS(output.status), 7);
}

TEST(AMessageBelowTheLevel, IsNotEvenFormatted) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [] {
        const char* const nowhere = reinterpret_cast<const char*>(1);  // reading it would crash
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", nowhere);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "");
}

TEST(TheSetting, DecidesFromWhichLevelOn) {
    EXPECT_THAT(LinesWith("debug"), ElementsAre("debug T: fine", "info T: usual", "error [system] T: bad"));
    EXPECT_THAT(LinesWith("info"), ElementsAre("info T: usual", "error [system] T: bad"));
    EXPECT_THAT(LinesWith("error"), ElementsAre("error [system] T: bad"));
}

TEST(TheSetting, IsErrorWhereItIsMissingAndNobodyLooks) {
    EXPECT_THAT(LinesWith(""), ElementsAre("error [system] T: bad"));
}

TEST(TheSetting, IsToldOnceWhenItIsWrong) {
    EXPECT_THAT(LinesWith("verb\nose"),
                ElementsAre("error QVXD: QUORVEX_LOG=verb\\nose is none of debug, info, error: logging from error on",
                            "error [system] T: bad"));
}

// A terminal hands over what was written in pieces of its own choice.
void PrintUpTo(const std::string& end, int fd) {
    std::string text;
    std::array<char, 4096> buffer;
    while (text.find(end) == std::string::npos) {
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        ASSERT_GT(count, 0);
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    EXPECT_EQ(write(STDOUT_FILENO, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

TEST(TheSetting, IsInfoWhereItIsMissingAtATerminal) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", ""}}, [] {
        int master = -1;
        int slave = -1;
        ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
        dup2(slave, STDERR_FILENO);
        LogEachLevel();
        PrintUpTo("bad\r\n", master);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "info T: usual\r\nerror [system] T: bad\r\n");
}

TEST(StandardErrorThatIsClosedAtStart, IsNotWrittenToWhenAnotherFileTakesItsNumber) {
    const ChildOutput output = RunInChild(kEverything, [] {
        close(STDERR_FILENO);
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "T", "first");
        dup2(STDOUT_FILENO, STDERR_FILENO);
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "T", "second");
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "");
}

TEST(StandardErrorThatNobodyReads, DoesNotEndTheProcess) {
    const ChildOutput output = RunInChild(kEverything, [] {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        const int result = __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "T", "text");
        std::exit(result == -1 ? 7 : 1);
    });
    ASSERT_TRUE(WIFEXITED(output.status));
    EXPECT_EQ(WEXITSTATUS(output.status), 7);
}

void LogFromThread(int thread) {
    for (int i = 0; i < 150; ++i) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "thread %d says %d", thread, i);
        __dlog_print(LOG_ID_MAIN, DLOG_DEBUG, "T", "dropped");
    }
}

TEST(ManyThreads, MayAllLogFirst) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "info"}}, [] { RunThreads(8, LogFromThread); });
    EXPECT_EQ(output.status, 0);
    std::vector<int> next(8, 0);
    for (const std::string& line : output.ErrLines()) {
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "info T: thread %d says %d", &thread, &number), 2) << line;
        ASSERT_EQ(number, next.at(static_cast<size_t>(thread))++) << line;
    }
    EXPECT_EQ(next, std::vector<int>(8, 150));
}

}  // namespace
