#include "gamepad/games/reader_watch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <set>

#include "child.h"
#include "events/events_thread.h"
#include "fifo.h"
#include "own_settings.h"
#include "temporary_folder.h"
#include "told.h"

namespace games {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::Not;

std::vector<Reader> FoundReadersOf(const std::string& path) {
    Node node(path);
    EXPECT_TRUE(node.Identify());
    std::vector<Reader> readers;
    EXPECT_TRUE(FindReaders({node}, readers));
    return readers;
}

class WatchedNodes : public testing::Test {
protected:
    using Pids = std::set<pid_t>;

    WatchedNodes() {
        folder_.Write("event3", "");
        folder_.Write("js0", "");
        nodes_ = {folder_.Path("event3"), folder_.Path("js0")};
    }
    ~WatchedNodes() override {
        thread_.Run([this] { watch_.reset(); });
    }
    void Watch() {
        thread_.Run([this] {
            watch_ = std::make_unique<ReaderWatch>(
                thread_.Context(), folder_.Path("ignored"), [this] { return nodes_; },
                [this](const std::vector<Reader>& readers) { Note(readers); });
        });
    }
    void SetNodes(const std::vector<std::string>& nodes) {
        thread_.Run([&] {
            nodes_ = nodes;
            watch_->LookSoon();
        });
    }
    void LookSoon() {
        thread_.Run([this] { watch_->LookSoon(); });
    }
    void Note(const std::vector<Reader>& readers) {
        Pids pids;
        for (const Reader& reader : readers) {
            EXPECT_TRUE(pids.insert(reader.pid).second) << "listed twice";
        }
        told_.Add(pids);
    }
    /// What a single process must not become: one of the readers.
    bool WasEverRead(pid_t pid) const {
        for (const Pids& pids : told_.All()) {
            if (pids.count(pid) != 0) {
                return true;
            }
        }
        return false;
    }

    TemporaryFolder folder_;
    std::vector<std::string> nodes_;
    EventsThread thread_;
    std::unique_ptr<ReaderWatch> watch_;
    Told<Pids> told_;
};

TEST_F(WatchedNodes, HaveAReaderFromItsOpenToItsClose) {
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    const Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    reader.Write("close");
    EXPECT_TRUE(told_.WaitFor({}));
}

TEST_F(WatchedNodes, HaveAReaderWhicheverItOpens) {
    Watch();
    const Child reader = ReaderOf(folder_.Path("js0"));
    EXPECT_TRUE(told_.WaitFor({reader.Pid()}));
}

TEST_F(WatchedNodes, LoseAReaderThatIsKilled) {
    Watch();
    Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    reader.Kill();
    EXPECT_TRUE(told_.WaitFor({}));
}

TEST_F(WatchedNodes, HaveReadersFromBeforeTheWatch) {
    const Fifo fifo(folder_.Path("fifo"));
    const Child reader(
        {"/bin/sh", "-c", "exec 3<\"$0\"; echo >\"$1\"; read line", folder_.Path("event3"), fifo.Path()});
    fifo.Await();
    Watch();
    EXPECT_TRUE(told_.WaitFor({reader.Pid()}));
}

TEST_F(WatchedNodes, KeepAReaderThatHoldsAnother) {
    Watch();
    const Child reader({"/bin/sh", "-c",
                        "exec 3<\"$0\" 4<\"$1\"; read line; exec 3<&-; read line; exec 4<&-; read line",
                        folder_.Path("event3"), folder_.Path("js0")});
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    told_.Forget();
    reader.Write("close one");
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    reader.Write("close the other");
    EXPECT_TRUE(told_.WaitFor({}));
}

TEST_F(WatchedNodes, AreToldFromFilesBesideThemAndOfTheSameName) {
    folder_.Write("event4", "");
    folder_.Write("other/event3", "");
    Watch();
    const Child beside = ReaderOf(folder_.Path("event4"));
    const Child namesake = ReaderOf(folder_.Path("other/event3"));
    const Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    LookSoon();
    EXPECT_TRUE(told_.WaitFor({reader.Pid()}));
    EXPECT_FALSE(WasEverRead(beside.Pid()));
    EXPECT_FALSE(WasEverRead(namesake.Pid()));
}

TEST_F(WatchedNodes, DoNotCountThisProcess) {
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    told_.Forget();
    const int own = open(folder_.Path("event3").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(told_.WaitForAll({{}}));
    close(own);
}

TEST_F(WatchedNodes, MayComeLater) {
    std::filesystem::remove(folder_.Path("js0"));
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    folder_.Write("js0", "");
    const Child reader = ReaderOf(folder_.Path("js0"));
    EXPECT_TRUE(told_.WaitFor({reader.Pid()}));
}

TEST_F(WatchedNodes, MayBeReplacedByOthersOfTheSameName) {
    Watch();
    const Child before = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({before.Pid()}));
    std::filesystem::remove(folder_.Path("event3"));
    folder_.Write("event3", "");
    LookSoon();
    ASSERT_TRUE(told_.WaitFor({}));
    const Child after = ReaderOf(folder_.Path("event3"));
    EXPECT_TRUE(told_.WaitFor({after.Pid()}));
}

TEST_F(WatchedNodes, MayChange) {
    folder_.Write("later/event9", "");
    Watch();
    const Child first = ReaderOf(folder_.Path("event3"));
    const Child second = ReaderOf(folder_.Path("later/event9"));
    ASSERT_TRUE(told_.WaitFor({first.Pid()}));
    SetNodes({folder_.Path("event3"), folder_.Path("later/event9")});
    ASSERT_TRUE(told_.WaitFor({first.Pid(), second.Pid()}));
    SetNodes({});
    ASSERT_TRUE(told_.WaitFor({}));
    SetNodes({folder_.Path("later/event9")});
    EXPECT_TRUE(told_.WaitFor({second.Pid()}));
}

TEST_F(WatchedNodes, AreNotWatchedWhenThereAreNone) {
    nodes_.clear();
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    const size_t before = OpenDescriptors();
    SetNodes({folder_.Path("event3")});
    const Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    EXPECT_GT(OpenDescriptors(), before + 1);  // the child's pipe, and the watch
    SetNodes({});
    ASSERT_TRUE(told_.WaitFor({}));
    EXPECT_EQ(OpenDescriptors(), before + 1);
}

TEST_F(WatchedNodes, PassToTheChildOfAReader) {
    Watch();
    Child parent({"/bin/sh", "-c", "exec 3<\"$0\"; /bin/sleep 1000 & read line", folder_.Path("event3")});
    ASSERT_TRUE(told_.WaitUntil([](const auto& all) { return !all.empty() && all.back().size() == 2; }));
    Pids both = told_.All().back();
    both.erase(parent.Pid());
    parent.Kill();
    LookSoon();
    EXPECT_TRUE(told_.WaitFor(both));
    kill(*both.begin(), SIGKILL);
    EXPECT_TRUE(told_.WaitFor({}));
}

TEST_F(WatchedNodes, DoNotCountWhoIsIgnored) {
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    const std::string script = folder_.Write("mapper", "#!/bin/sh\nexec 3<\"$1\"\nread line\n");
    chmod(script.c_str(), 0700);
    const Child ignored({script, folder_.Path("event3")});
    ASSERT_TRUE(told_.WaitFor({ignored.Pid()}));
    folder_.Write("ignored", "mapper  # hands the pad on\n");
    ASSERT_TRUE(told_.WaitFor({}));
    const Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    folder_.Replace("ignored", "# nobody\n");
    EXPECT_TRUE(told_.WaitFor({ignored.Pid(), reader.Pid()}));
}

TEST_F(WatchedNodes, DoNotCountABuiltInName) {
    const std::string tool = folder_.Path("evtest");
    std::filesystem::copy_file("/bin/dash", tool);
    Watch();
    const Child ignored = ReaderOf(folder_.Path("event3"), tool);
    const Child reader = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    LookSoon();
    ASSERT_TRUE(told_.WaitFor({reader.Pid()}));
    EXPECT_FALSE(WasEverRead(ignored.Pid()));
}

TEST_F(WatchedNodes, AreLookedAtSeldomInAStorm) {
    Watch();
    ASSERT_TRUE(told_.WaitFor({}));
    told_.Forget();
    const auto start = std::chrono::steady_clock::now();
    Child storm({"/bin/sh", "-c",
                 "i=0; while [ $i -lt 2000 ]; do exec 3<\"$0\"; exec 3<&-; i=$((i+1)); done; "
                 "i=0; while [ $i -lt 200 ]; do (exec 3<\"$0\") & i=$((i+1)); done; wait",
                 folder_.Path("event3")});
    storm.Wait();
    const Child last = ReaderOf(folder_.Path("event3"));
    ASSERT_TRUE(told_.WaitFor({last.Pid()}));
    const auto most = 1 + (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(50);
    EXPECT_LE(static_cast<long>(told_.All().size()), most);
}

TEST(ReadersOfADevice, AreKnownByTheDevice) {
    const Child reader = ReaderOf("/dev/full");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const auto is_there = Contains(AllOf(Field(&Reader::pid, reader.Pid()), Field(&Reader::node, "/dev/full")));
    while (!testing::Value(FoundReadersOf("/dev/full"), is_there) && std::chrono::steady_clock::now() < deadline) {
    }
    EXPECT_THAT(FoundReadersOf("/dev/full"), is_there);
    EXPECT_THAT(FoundReadersOf("/dev/zero"), Not(Contains(Field(&Reader::pid, reader.Pid()))));
}

}  // namespace
}  // namespace games
