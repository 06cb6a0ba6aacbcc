#include "gamepad/dev_input_watch.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using gamepad::DevInputWatch;
using testing::Contains;
using testing::IsEmpty;

namespace {

class AWatch : public testing::Test {
protected:
    AWatch() {
        std::string name = testing::TempDir() + "quorvex-watch-XXXXXX";
        parent_ = mkdtemp(name.data());
        folder_ = parent_ + "/input";
    }
    ~AWatch() override { std::filesystem::remove_all(parent_); }

    void Make(const std::string& path) { std::ofstream(path) << "x"; }

    std::string parent_;
    std::string folder_;
};

TEST_F(AWatch, TellsWhichNodesComeAndGo) {
    mkdir(folder_.c_str(), S_IRWXU);
    DevInputWatch watch(folder_);
    ASSERT_TRUE(watch.Open());
    Make(folder_ + "/event3");
    EXPECT_THAT(watch.Read().nodes, Contains(folder_ + "/event3"));
    std::filesystem::remove(folder_ + "/event3");
    EXPECT_THAT(watch.Read().nodes, Contains(folder_ + "/event3"));
    EXPECT_THAT(watch.Read().nodes, IsEmpty());
}

TEST_F(AWatch, TellsWhichNodesGetOtherAccessRights) {
    mkdir(folder_.c_str(), S_IRWXU);
    Make(folder_ + "/event3");
    DevInputWatch watch(folder_);
    ASSERT_TRUE(watch.Open());
    chmod((folder_ + "/event3").c_str(), S_IRUSR);
    EXPECT_THAT(watch.Read().nodes, Contains(folder_ + "/event3"));
}

TEST_F(AWatch, LeavesOtherNodesOut) {
    mkdir(folder_.c_str(), S_IRWXU);
    DevInputWatch watch(folder_);
    ASSERT_TRUE(watch.Open());
    Make(folder_ + "/js0");
    Make(folder_ + "/mice");
    EXPECT_THAT(watch.Read().nodes, IsEmpty());
}

TEST_F(AWatch, WaitsForTheFolderItself) {
    DevInputWatch watch(folder_);
    ASSERT_TRUE(watch.Open());
    Make(parent_ + "/something else");
    EXPECT_FALSE(watch.Read().everything);
    mkdir(folder_.c_str(), S_IRWXU);
    EXPECT_TRUE(watch.Read().everything);
    Make(folder_ + "/event3");
    EXPECT_THAT(watch.Read().nodes, Contains(folder_ + "/event3"));
}

TEST_F(AWatch, SurvivesThatTheFolderGoesAndComesBack) {
    mkdir(folder_.c_str(), S_IRWXU);
    DevInputWatch watch(folder_);
    ASSERT_TRUE(watch.Open());
    std::filesystem::remove(folder_);
    EXPECT_TRUE(watch.Read().everything);
    mkdir(folder_.c_str(), S_IRWXU);
    EXPECT_TRUE(watch.Read().everything);
    Make(folder_ + "/event3");
    EXPECT_THAT(watch.Read().nodes, Contains(folder_ + "/event3"));
}

}  // namespace
