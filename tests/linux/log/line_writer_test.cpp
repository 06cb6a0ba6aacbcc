#include "log/line_writer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kLine[] = "0123456789\n";
constexpr size_t kLength = sizeof kLine - 1;

class APipe : public ::testing::Test {
protected:
    APipe() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
    ~APipe() override {
        close(ends_[0]);
        close(ends_[1]);
    }

    void StopReading() {
        close(ends_[0]);
        ends_[0] = -1;
    }

    std::string ReadWhatIsThere() {
        std::array<char, 1 << 20> buffer;
        fcntl(ends_[0], F_SETFL, O_NONBLOCK);
        const ssize_t count = read(ends_[0], buffer.data(), buffer.size());
        return {buffer.data(), count > 0 ? static_cast<size_t>(count) : 0};
    }

    // How many lines went in before the pipe was full.
    int Fill(LineWriter& writer) {
        int lines = 0;
        while (writer.Write(kLine, kLength)) {
            ++lines;
        }
        return lines;
    }

    int ends_[2];
};

TEST_F(APipe, ReceivesTheLine) {
    LineWriter writer(ends_[1]);
    EXPECT_TRUE(writer.Write(kLine, kLength));
    EXPECT_EQ(ReadWhatIsThere(), kLine);
}

TEST_F(APipe, ThatNobodyReadsAnyLongerEndsNoProcess) {
    StopReading();
    LineWriter writer(ends_[1]);
    EXPECT_FALSE(writer.Write(kLine, kLength));  // SIGPIPE would end the test
    EXPECT_FALSE(writer.Write(kLine, kLength));
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST_F(APipe, LeavesASigpipeThatTheCallerBlocksToTheCaller) {
    sigset_t pipeSignal;
    sigset_t before;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    StopReading();
    LineWriter writer(ends_[1]);
    EXPECT_FALSE(writer.Write(kLine, kLength));
    const timespec now{};
    EXPECT_EQ(sigtimedwait(&pipeSignal, nullptr, &now), SIGPIPE);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(APipe, ThatIsFullDelaysTheWriterOnceAndNoMore) {
    LineWriter writer(ends_[1]);
    const int filled = Fill(writer);
    EXPECT_GT(filled, 100);
    const auto start = Clock::now();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(writer.Write(kLine, kLength));
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));  // 1000 waits would take 100 s
}

TEST_F(APipe, TellsHowManyLinesItLostWhenItIsReadAgain) {
    LineWriter writer(ends_[1]);
    Fill(writer);
    EXPECT_FALSE(writer.Write(kLine, kLength));
    EXPECT_FALSE(writer.Write(kLine, kLength));
    ReadWhatIsThere();
    EXPECT_TRUE(writer.Write(kLine, kLength));
    EXPECT_TRUE(writer.Write(kLine, kLength));
    EXPECT_EQ(ReadWhatIsThere(), std::string("(lines lost, since nobody read them: 3)\n") + kLine + kLine);
}

TEST_F(APipe, ThatIsFullAndNonBlockingIsNoDifferent) {
    fcntl(ends_[1], F_SETFL, O_NONBLOCK);
    LineWriter writer(ends_[1]);
    Fill(writer);
    ReadWhatIsThere();
    EXPECT_TRUE(writer.Write(kLine, kLength));
    EXPECT_EQ(ReadWhatIsThere(), std::string("(lines lost, since nobody read them: 1)\n") + kLine);
}

TEST_F(APipe, KeepsTheCallersErrno) {
    LineWriter writer(ends_[1]);
    errno = EDOM;
    writer.Write(kLine, kLength);
    EXPECT_EQ(errno, EDOM);
    StopReading();
    writer.Write(kLine, kLength);
    EXPECT_EQ(errno, EDOM);
}

TEST(AClosedDescriptor, IsAFailureAndNothingWorse) {
    LineWriter writer(-1);
    EXPECT_FALSE(writer.Write(kLine, kLength));
    LineWriter closed(987);
    EXPECT_FALSE(closed.Write(kLine, kLength));
}

void WriteLines(LineWriter& writer, int thread) {
    for (int i = 0; i < 250; ++i) {
        const std::string line = std::to_string(thread) + ' ' + std::to_string(i) + '\n';
        writer.Write(line.data(), line.size());
    }
}

TEST(SeveralThreads, WriteEachLineWholeAndInTheirOrder) {
    const ChildOutput output = RunInChild({}, [] {
        LineWriter writer(STDERR_FILENO);
        RunThreads(8, [&writer](int thread) { WriteLines(writer, thread); });
    });
    EXPECT_EQ(output.status, 0);
    std::vector<int> next(8, 0);
    for (const std::string& line : output.ErrLines()) {
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "%d %d", &thread, &number), 2) << line;
        ASSERT_EQ(number, next.at(static_cast<size_t>(thread))++) << line;
    }
    EXPECT_EQ(next, std::vector<int>(8, 250));
}

void OnAlarm(int) {}

TEST(SignalsInFullFlow, LoseNoLineAndTearNone) {
    const ChildOutput output = RunInChild({}, [] {
        struct sigaction action {};
        action.sa_handler = OnAlarm;  // without SA_RESTART
        sigaction(SIGALRM, &action, nullptr);
        const itimerval often{{0, 200}, {0, 200}};
        setitimer(ITIMER_REAL, &often, nullptr);
        LineWriter writer(STDERR_FILENO);
        for (int i = 0; i < 2000; ++i) {
            writer.Write(kLine, kLength);
        }
    });
    EXPECT_EQ(output.status, 0);
    std::string expected;
    for (int i = 0; i < 2000; ++i) {
        expected += kLine;
    }
    EXPECT_EQ(output.err, expected);
}

}  // namespace
