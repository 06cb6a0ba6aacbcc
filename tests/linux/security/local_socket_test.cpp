#include "display/local_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "program.h"

namespace {

constexpr uid_t kAnotherUser = 65533;

/// A socket in a folder that everybody may look into, at which some user listens.
class ASocketOf : public testing::Test {
protected:
    ASocketOf() {
        char name[] = "/tmp/quorvex-socket-XXXXXX";
        folder_ = mkdtemp(name);
        chmod(name, 0755);
    }
    ~ASocketOf() override {
        close(listener_);
        std::filesystem::remove_all(folder_);
    }

    std::string Path() const { return folder_ + "/socket"; }

    // The kernel remembers who it was that began to listen.
    void Listen(uid_t user) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, Path().c_str(), sizeof address.sun_path - 1);
        listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        chmod(Path().c_str(), 0777);
        const uid_t own = geteuid();
        ASSERT_EQ(seteuid(user), 0);
        EXPECT_EQ(listen(listener_, 1), 0);
        ASSERT_EQ(seteuid(own), 0);
    }

    /// 0 or the errno of an attempt of that user's.
    int Connect(uid_t user) const {
        const pid_t child = fork();
        if (child == 0) {
            const bool is_user = user == getuid() || setuid(user) == 0;
            _exit(!is_user ? 255 : ConnectToSession(Path()) >= 0 ? 0 : errno);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    }

    std::string folder_;
    int listener_ = -1;
};

TEST_F(ASocketOf, TheSameUserIsBelieved) {
    Listen(geteuid());
    EXPECT_EQ(Connect(geteuid()), 0);
}

TEST_F(ASocketOf, NobodyIsRefused) {
    EXPECT_EQ(Connect(geteuid()), ENOENT);
}

/// Nobody but root can be several users: the test command runs this as root, and counts a skip as one elsewhere.
class ASocketOfOthers : public ASocketOf {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can listen as somebody else";
        }
    }
};

TEST_F(ASocketOfOthers, IsNotBelieved) {
    Listen(kAnotherUser);
    EXPECT_EQ(Connect(kOrdinaryUser), EACCES);
    EXPECT_EQ(Connect(kAnotherUser), 0);
}

TEST_F(ASocketOfOthers, IsBelievedWhereTheyAreRoot) {
    Listen(0);
    EXPECT_EQ(Connect(kOrdinaryUser), 0);
}

}  // namespace
