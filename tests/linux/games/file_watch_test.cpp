#include "user_file/file_watch.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "events/events_thread.h"
#include "temporary_folder.h"
#include "told.h"

namespace games {
namespace {

constexpr char kFile[] = "config/quorvex/names";

class AWatchedFile : public testing::Test {
protected:
    ~AWatchedFile() override {
        thread_.Run([this] { watch_.reset(); });
    }
    void Watch() {
        thread_.Run([this] {
            watch_ = std::make_unique<FileWatch>(thread_.Context(), folder_.Path(kFile), [this] {
                std::ifstream file(folder_.Path(kFile));
                std::string word;
                file >> word;
                told_.Add(word);
            });
        });
    }

    TemporaryFolder folder_;
    EventsThread thread_;
    std::unique_ptr<FileWatch> watch_;
    Told<std::string> told_;  // what the file held at each notice
};

TEST_F(AWatchedFile, IsNoticedWhenItIsWritten) {
    folder_.Write(kFile, "old");
    Watch();
    folder_.Write(kFile, "new");
    EXPECT_TRUE(told_.WaitFor("new"));
}

TEST_F(AWatchedFile, IsNoticedWhenItIsReplaced) {
    folder_.Write(kFile, "old");
    Watch();
    folder_.Replace(kFile, "new");
    EXPECT_TRUE(told_.WaitFor("new"));
    folder_.Replace(kFile, "newer");
    EXPECT_TRUE(told_.WaitFor("newer"));
}

TEST_F(AWatchedFile, IsNoticedWhenItIsRemovedAndComesBack) {
    folder_.Write(kFile, "old");
    Watch();
    std::filesystem::remove(folder_.Path(kFile));
    ASSERT_TRUE(told_.WaitFor(""));
    folder_.Write(kFile, "new");
    EXPECT_TRUE(told_.WaitFor("new"));
}

TEST_F(AWatchedFile, MayComeWithItsFolders) {
    Watch();
    folder_.Write(kFile, "new");
    EXPECT_TRUE(told_.WaitFor("new"));
}

TEST_F(AWatchedFile, MayComeAgainAfterItsFoldersWent) {
    folder_.Write(kFile, "old");
    Watch();
    std::filesystem::remove_all(folder_.Path("config"));
    ASSERT_TRUE(told_.WaitFor(""));
    folder_.Write(kFile, "new");
    EXPECT_TRUE(told_.WaitFor("new"));
}

TEST_F(AWatchedFile, MayBeALinkToAnother) {
    const std::string target = folder_.Write("elsewhere/names", "old");
    folder_.Write("config/quorvex/other", "");
    std::filesystem::create_symlink(target, folder_.Path(kFile));
    Watch();
    folder_.Write("elsewhere/names", "new");
    EXPECT_TRUE(told_.WaitFor("new"));
}

TEST_F(AWatchedFile, IsAloneInBeingTold) {
    folder_.Write(kFile, "old");
    Watch();
    folder_.Write("config/quorvex/other", "1");
    folder_.Write("config/other", "1");
    folder_.Write(kFile, "new");
    ASSERT_TRUE(told_.WaitFor("new"));
    EXPECT_THAT(told_.All(), testing::Not(testing::Contains("old")));
}

}  // namespace
}  // namespace games
