#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "program.h"
#include "service.h"

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::Not;

constexpr unsigned long kListens = 0x10000;  // in a socket's flags

/// The program in a home of its own, started by somebody who hides nothing from others.
class TheRunningService : public testing::Test {
protected:
    TheRunningService() {
        char name[] = "/tmp/quorvex-home-XXXXXX";
        home_ = mkdtemp(name);
        const mode_t before = umask(0);
        service_ = std::make_unique<Service>(ServiceOptions{
            {"HOME=" + home_, "XDG_RUNTIME_DIR=" + home_, "QUORVEX_KEYS=print", "QUORVEX_LOG=info"}, 0, {}});
        umask(before);
        EXPECT_TRUE(service_->Prints("Loop to handle gamepad key event")) << service_->Tail();
    }
    ~TheRunningService() override {
        service_->Terminate();
        EXPECT_EQ(service_->ExitStatus(), 0) << service_->Tail();
        fs::remove_all(home_);
    }

    std::string home_;
    std::unique_ptr<Service> service_;
};

TEST_F(TheRunningService, WritesFilesForItsUserAlone) {
    ASSERT_TRUE(WaitUntil([this] { return fs::exists(home_ + "/quorvex/memory/window_system/screensaver_on_off"); }));
    std::vector<std::string> open;
    for (const auto& entry : fs::recursive_directory_iterator(home_)) {
        if ((entry.status().permissions() & (fs::perms::group_all | fs::perms::others_all)) != fs::perms::none) {
            open.push_back(entry.path());
        }
    }
    EXPECT_THAT(open, IsEmpty());
}

// "Num RefCount Protocol Flags Type St Inode Path"
TEST_F(TheRunningService, ListensOnNoSocket) {
    const std::vector<std::string> files = service_->OpenFiles();
    ASSERT_THAT(files, Not(IsEmpty()));
    std::ifstream sockets("/proc/net/unix");
    std::string line;
    std::getline(sockets, line);
    while (std::getline(sockets, line)) {
        std::istringstream words(line);
        std::string number, references, protocol, flags, type, state, inode;
        words >> number >> references >> protocol >> flags >> type >> state >> inode;
        if ((std::strtoul(flags.c_str(), nullptr, 16) & kListens) != 0) {
            EXPECT_THAT(files, Not(testing::Contains("socket:[" + inode + "]"))) << line;
        }
    }
}

}  // namespace
