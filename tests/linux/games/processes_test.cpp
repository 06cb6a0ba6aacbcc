#include "gamepad/games/processes.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "child.h"
#include "temporary_folder.h"

namespace games {
namespace {

/// A process has its last name only when it has begun to run the file.
ProcessName NameWhenItRuns(const Child& child, const std::string& executable) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (NameOf(child.Pid()).executable != executable && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return NameOf(child.Pid());
}

class AProgram : public testing::Test {
protected:
    std::string CopyOfSleep(const std::string& name) const {
        std::string path = folder_.Path(name);
        std::filesystem::copy_file("/bin/sleep", path);
        return path;
    }

    TemporaryFolder folder_;
};

TEST_F(AProgram, HasTheNameOfItsFile) {
    const Child child({CopyOfSleep("a long name of a program"), "1000"});
    const ProcessName name = NameWhenItRuns(child, "a long name of a program");
    EXPECT_EQ(name.executable, "a long name of a program");
    EXPECT_EQ(name.command, "a long name of ");
}

TEST_F(AProgram, KeepsItsNameWhenItIsRemoved) {
    const std::string path = CopyOfSleep("updated");
    const Child child({path, "1000"});
    NameWhenItRuns(child, "updated");
    std::filesystem::remove(path);
    EXPECT_EQ(NameOf(child.Pid()).executable, "updated");
}

TEST_F(AProgram, ThatIsAScriptHasTheScriptsName) {
    const std::string path = folder_.Write("mapper", "#!/bin/sh\nread line\n");
    chmod(path.c_str(), 0700);
    const Child child({path});
    const ProcessName name = NameWhenItRuns(child, NameOf(Child({"/bin/sh", "-c", "read line"}).Pid()).executable);
    EXPECT_EQ(name.command, "mapper");
}

TEST_F(AProgram, ThatDoesNotRunHasNoName) {
    Child child({"/bin/true"});
    const pid_t pid = child.Pid();
    child.Wait();
    EXPECT_EQ(NameOf(pid).executable, "");
    EXPECT_EQ(NameOf(pid).command, "");
    EXPECT_EQ(ParentOf(pid), 0);
}

TEST_F(AProgram, HasAParentWhateverItIsCalled) {
    const Child child({CopyOfSleep("a) S 1 (b"), "1000"});
    NameWhenItRuns(child, "a) S 1 (b");
    EXPECT_EQ(ParentOf(child.Pid()), getpid());
}

TEST(AncestorsOfAProcess, BeginWithItself) {
    EXPECT_EQ(NearestAncestor(getpid(), [](pid_t) { return true; }), getpid());
}

TEST(AncestorsOfAProcess, AreItsParentsUpToTheFirst) {
    const Child child({"/bin/sleep", "1000"});
    EXPECT_EQ(NearestAncestor(child.Pid(), [](pid_t pid) { return pid == getppid(); }), getppid());
    EXPECT_EQ(NearestAncestor(child.Pid(), [](pid_t) { return false; }), 0);
    EXPECT_EQ(NearestAncestor(0, [](pid_t) { return true; }), 0);
    EXPECT_EQ(NearestAncestor(-5, [](pid_t) { return true; }), 0);
}

}  // namespace
}  // namespace games
