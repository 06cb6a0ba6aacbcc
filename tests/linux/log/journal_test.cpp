#include "log/journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "child_process.h"
#include "platform/dlog.h"

namespace {

using ::testing::HasSubstr;

struct stat FileAt(unsigned long device, unsigned long inode) {
    struct stat status {};
    status.st_dev = device;
    status.st_ino = inode;
    return status;
}

TEST(TheJournalsStream, IsKnownByDeviceAndInode) {
    EXPECT_TRUE(IsJournalStream("8:1234", FileAt(8, 1234)));
    EXPECT_TRUE(IsJournalStream("0:0", FileAt(0, 0)));
}

TEST(TheJournalsStream, IsNotWhatTheVariableDoesNotName) {
    for (const char* other : {"8:1235", "9:1234", "8", "8:", ":1234", "", "8:1234x", "8:1234:1", "eight:1234"}) {
        EXPECT_FALSE(IsJournalStream(other, FileAt(8, 1234))) << other;
    }
    EXPECT_FALSE(IsJournalStream(nullptr, FileAt(0, 0)));
}

// The other end of the journal's socket, within the process that logs.
struct JournalDouble {
    int ends[2] = {-1, -1};
    bool refuses = false;

    void Open() { ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0); }

    std::string NextEntry() const {
        std::array<char, 65536> buffer;
        const ssize_t count = recv(ends[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
        return {buffer.data(), count > 0 ? static_cast<size_t>(count) : 0};
    }
};

JournalDouble journal;

bool GoesToTheJournal(const msghdr* message) {
    const auto* address = static_cast<const sockaddr*>(message->msg_name);
    return address != nullptr && address->sa_family == AF_UNIX &&
           std::string(address->sa_data) == "/run/systemd/journal/socket";
}

}  // namespace

// The journal's client library finds this one before the C library's: what it sends arrives at the double. Named for
// the linker alone, since with 64-bit times on a 32-bit machine the compiler would give sendmsg() another name.
extern "C" __attribute__((visibility("default"))) ssize_t SendToTheDouble(int fd, const msghdr* message,
                                                                          int flags) __asm__("sendmsg");
ssize_t SendToTheDouble(int fd, const msghdr* message, int flags) {
    if (!GoesToTheJournal(message)) {
        return syscall(SYS_sendmsg, fd, message, flags);
    }
    if (journal.refuses) {
        errno = EACCES;
        return -1;
    }
    msghdr redirected = *message;
    redirected.msg_name = nullptr;
    redirected.msg_namelen = 0;
    return syscall(SYS_sendmsg, journal.ends[1], &redirected, flags);
}

namespace {

void NameStandardErrorAsTheJournal() {
    struct stat status;
    ASSERT_EQ(fstat(STDERR_FILENO, &status), 0);
    const std::string name = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
    setenv("JOURNAL_STREAM", name.c_str(), 1);
}

void PrintNextEntry() {
    const std::string entry = journal.NextEntry();
    EXPECT_EQ(write(STDOUT_FILENO, entry.data(), entry.size()), static_cast<ssize_t>(entry.size()));
}

const Environment kEverything = {{"QUORVEX_LOG", "debug"}};

TEST(AMessageToTheJournal, IsOneEntryWithItsFields) {
    const ChildOutput output = RunInChild(kEverything, [] {
        journal.Open();
        NameStandardErrorAsTheJournal();
        __dlog_print(LOG_ID_SYSTEM, DLOG_INFO, "QVXD", "App[%s] is focused. \n", "x.desktop");
        PrintNextEntry();
        EXPECT_EQ(journal.NextEntry(), "");
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(output.out,
              "PRIORITY=6\nSYSLOG_IDENTIFIER=QVXD\nQUORVEX_BUFFER=system\nMESSAGE=App[x.desktop] is focused. \\n\n");
}

TEST(AMessageToTheJournal, HasThePriorityOfItsLevel) {
    const ChildOutput output = RunInChild(kEverything, [] {
        journal.Open();
        NameStandardErrorAsTheJournal();
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "T", "bad");
        PrintNextEntry();
        __dlog_print(LOG_ID_MAIN, DLOG_DEBUG, "T", "fine");
        PrintNextEntry();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out,
              "PRIORITY=3\nSYSLOG_IDENTIFIER=T\nQUORVEX_BUFFER=main\nMESSAGE=bad\n"
              "PRIORITY=7\nSYSLOG_IDENTIFIER=T\nQUORVEX_BUFFER=main\nMESSAGE=fine\n");
}

TEST(AMessageToTheJournal, IsCutLikeALine) {
    const ChildOutput output = RunInChild(kEverything, [] {
        journal.Open();
        NameStandardErrorAsTheJournal();
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, std::string(500, 't').c_str(), "%s", std::string(5000, 'x').c_str());
        PrintNextEntry();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.out, HasSubstr("xxx [cut]\n"));
    EXPECT_THAT(output.out, HasSubstr("ttt\nQUORVEX_BUFFER"));
    EXPECT_LT(output.out.size(), 2048u + 256u);
}

TEST(AMessageThatTheJournalRefuses, BecomesALine) {
    const ChildOutput output = RunInChild(kEverything, [] {
        journal.refuses = true;
        NameStandardErrorAsTheJournal();
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "text");
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "info T: text\n");
}

TEST(StandardErrorThatWasRedirected, IsNotTheJournal) {
    const ChildOutput output = RunInChild(kEverything, [] {
        journal.Open();
        setenv("JOURNAL_STREAM", "1:1", 1);
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "text");
        EXPECT_EQ(journal.NextEntry(), "");
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "info T: text\n");
}

}  // namespace
