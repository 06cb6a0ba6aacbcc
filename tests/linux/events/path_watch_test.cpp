#include "events/path_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>

#include "events/socket_watch.h"
#include "games/temporary_folder.h"
#include "user_file/file_watch.h"

namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int InotifyDescriptors() {
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += fs::read_symlink(entry, gone) == "anon_inode:inotify" ? 1 : 0;
    }
    return count;
}

class WatchedFolder : public testing::Test {
protected:
    WatchedFolder() { fs::create_directory(Folder()); }
    ~WatchedFolder() override { g_main_context_unref(context_); }

    std::string Folder() const { return folder_.Path("watched"); }
    std::string Path(const std::string& name) const { return Folder() + "/" + name; }
    void Touch(const std::string& name) const { std::ofstream(Path(name)) << "x"; }

    std::unique_ptr<PathWatch> Watch(std::vector<std::string>& told, uint32_t mask) {
        auto watch = std::make_unique<PathWatch>(context_, [&told](const auto& notices) {
            for (const PathWatch::Notice& notice : notices) {
                told.push_back(notice.watch < 0 ? "overflow" : notice.name);
            }
        });
        EXPECT_GE(watch->Add(Folder(), mask), 0);
        return watch;
    }

    /// The kernel tells at once: what is not told now never comes.
    void HearAll() const {
        while (g_main_context_iteration(context_, FALSE)) {
        }
    }

    const TemporaryFolder folder_;
    GMainContext* const context_ = g_main_context_new();
    std::vector<std::string> first_;
    std::vector<std::string> second_;
};

TEST_F(WatchedFolder, TakesOneDescriptorForAllWhoWatch) {
    const auto none = [] {};
    const auto watch = Watch(first_, IN_CREATE);
    const SocketWatch socket(context_, Path("socket"), 1000, none);
    const SocketWatch other_socket(context_, Path("far/away/socket"), 1000, none);
    const FileWatch file(context_, Path("file"), none);
    EXPECT_EQ(InotifyDescriptors(), 1);
}

TEST_F(WatchedFolder, TakesNoDescriptorOnceNobodyWatches) {
    Watch(first_, IN_CREATE).reset();
    EXPECT_EQ(InotifyDescriptors(), 0);
}

TEST_F(WatchedFolder, TellsEachWhatItAskedFor) {
    const auto comings = Watch(first_, IN_CREATE);
    const auto goings = Watch(second_, IN_DELETE);
    Touch("a");
    fs::remove(Path("a"));
    Touch("b");
    HearAll();
    EXPECT_THAT(first_, ElementsAre("a", "b"));
    EXPECT_THAT(second_, ElementsAre("a"));
}

TEST_F(WatchedFolder, GoesOnTellingOthersWhenOneHasLeft) {
    auto watch = Watch(first_, IN_CREATE);
    const auto other = Watch(second_, IN_CREATE);
    watch.reset();
    Touch("a");
    HearAll();
    EXPECT_THAT(first_, IsEmpty());
    EXPECT_THAT(second_, ElementsAre("a"));
}

TEST_F(WatchedFolder, IsNotToldOfAfterItsRemoval) {
    const auto watch = Watch(first_, IN_CREATE);
    const auto other = Watch(second_, IN_CREATE);
    watch->Remove(watch->Add(Folder(), IN_CREATE));
    Touch("a");
    HearAll();
    EXPECT_THAT(first_, IsEmpty());
    EXPECT_THAT(second_, ElementsAre("a"));
}

TEST_F(WatchedFolder, TellsBothWhenItGoesAndAgainWhenItIsWatchedAgain) {
    const auto watch = Watch(first_, IN_CREATE | IN_DELETE_SELF);
    const auto other = Watch(second_, IN_CREATE);
    fs::remove(Folder());
    HearAll();
    EXPECT_THAT(first_, ElementsAre("", ""));  // it was deleted, and is watched no more
    EXPECT_THAT(second_, ElementsAre(""));
    fs::create_directory(Folder());
    EXPECT_GE(watch->Add(Folder(), IN_CREATE), 0);
    Touch("a");
    HearAll();
    EXPECT_THAT(first_, ElementsAre("", "", "a"));
    EXPECT_THAT(second_, ElementsAre(""));
}

TEST_F(WatchedFolder, MayLoseAWatcherWhileItTells) {
    std::unique_ptr<PathWatch> itself;
    std::unique_ptr<PathWatch> other;
    int calls = 0;
    const auto both_go = [&](const auto& /*notices*/) {
        ++calls;
        itself.reset();
        other.reset();
    };
    itself = std::make_unique<PathWatch>(context_, both_go);
    other = std::make_unique<PathWatch>(context_, both_go);
    itself->Add(Folder(), IN_CREATE);
    other->Add(Folder(), IN_CREATE);
    Touch("a");
    HearAll();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(InotifyDescriptors(), 0);
}

TEST_F(WatchedFolder, IsWorthOneTryToConnectHoweverMuchHappensInIt) {
    int tries = 0;
    const SocketWatch socket(context_, Path("socket"), 1000, [&tries] { ++tries; });
    testing::internal::CaptureStderr();
    Touch("a");
    HearAll();
    Touch("b");
    HearAll();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(tries, 1);
}

TEST_F(WatchedFolder, TellsEverybodyThatSomethingIsLost) {
    int queued = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queued;
    const auto watch = Watch(first_, IN_ATTRIB);
    const auto other = Watch(second_, IN_CREATE);
    Touch("a");
    Touch("b");
    HearAll();
    first_.clear();
    second_.clear();
    // Two in turn: the same again would count as one.
    for (int i = 0; i <= queued; ++i) {
        fs::permissions(Path(i % 2 == 0 ? "a" : "b"), i % 4 < 2 ? fs::perms::owner_all : fs::perms::owner_read);
    }
    HearAll();
    ASSERT_FALSE(first_.empty());
    EXPECT_EQ(first_.back(), "overflow");
    EXPECT_THAT(second_, ElementsAre("overflow"));
}

TEST_F(WatchedFolder, IsRefusedWithoutADescriptorAndWatchedOnceThereIsOne) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
    PathWatch watch(context_, [this](const auto& notices) { first_.push_back(notices.front().name); });
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(watch.Add(Folder(), IN_CREATE), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_FALSE(watch.Works());
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_GE(watch.Add(Folder(), IN_CREATE), 0);
    Touch("a");
    HearAll();
    EXPECT_THAT(first_, ElementsAre("a"));
}

}  // namespace
