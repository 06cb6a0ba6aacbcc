#include "gamepad/games/game_list.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <thread>

#include "events/events_thread.h"
#include "fifo.h"
#include "gamemode_daemon.h"
#include "gamepad/connected_pads.h"
#include "own_settings.h"
#include "program.h"
#include "service_callback.h"

namespace {

using games::GameList;
using std::chrono::steady_clock;

/// A pad whose node is a plain file, and a bus without a daemon.
class APad : public testing::Test {
protected:
    APad() : node_(folder_.Write("event3", "")) {
        pad_->node = node_;
        gamepad::ConnectedPads().Add(pad_, "pad");
    }
    ~APad() override {
        gamepad_unregister_gameapp_status_callback(TellNotice);
        gamepad::ConnectedPads().Clear();
    }
    void Register() { ASSERT_EQ(gamepad_register_gameapp_status_callback(TellNotice, &told_), 1); }

    GameModeDaemon daemon_;
    TemporaryFolder folder_;
    const std::string node_;
    const Fifo fifo_{folder_.Path("fifo")};
    const gamepad::PadPointer pad_ = std::make_shared<gamepad::Pad>();
    Told<Notice> told_;
};

TEST_F(APad, MakesAGameOfItsReader) {
    Register();
    Child game = ReaderOf(node_);
    const pid_t pid = game.Pid();
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    EXPECT_EQ(ListedGames(), std::to_string(pid));
    const auto start = steady_clock::now();
    game.Kill();
    ASSERT_TRUE(told_.WaitForAll({{GAMEAPP_OPENED, pid}, Closed(pid)}));
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(APad, NeedsNoBus) {
    daemon_.KillBus();
    Register();
    Child game = ReaderOf(node_);
    const pid_t pid = game.Pid();
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    game.Kill();
    EXPECT_TRUE(told_.WaitForAll({{GAMEAPP_OPENED, pid}, Closed(pid)}));
}

TEST_F(APad, LeavesNoGameWhenItGoes) {
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    gamepad::ConnectedPads().Remove(pad_);
    ASSERT_TRUE(told_.WaitForAll({Opened(game), Closed(game.Pid())}));
    gamepad::ConnectedPads().Add(pad_, "pad");
    EXPECT_TRUE(told_.WaitForAll({Opened(game), Closed(game.Pid()), Opened(game)}));
}

TEST_F(APad, IsToldOfOnceForEachProcessHoweverManySourcesThereAre) {
    daemon_.Start();
    Register();
    const Child game({"/usr/games/gamemoderun", "/bin/sh", "-c",
                      "exec 3<\"$0\"; echo >\"$1\"; read line; exec 3<&-; read line", node_, fifo_.Path()});
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    fifo_.Await();
    // Who found this one found the game as well.
    const Child next = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitForAll({Opened(game), Opened(next)}));
    daemon_.Kill();  // the reader stays
    const Child last = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitForAll({Opened(game), Opened(next), Opened(last)}));
    game.Write("close");
    EXPECT_TRUE(told_.WaitForAll({Opened(game), Opened(next), Opened(last), Closed(game.Pid())}));
    EXPECT_EQ(ListedGames(), std::to_string(next.Pid()) + "," + std::to_string(last.Pid()));
}

TEST_F(APad, PassesFromADyingGameToItsChild) {
    Register();
    Child game({"/bin/sh", "-c", "exec 3<\"$0\"; read line; /bin/sleep 1000 & read line", node_});
    const pid_t pid = game.Pid();
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    game.Write("fork");
    game.Write("end");
    game.Wait();
    ASSERT_TRUE(told_.WaitUntil([pid](const std::vector<Notice>& notices) {
        return notices.size() == 3 && std::count(notices.begin(), notices.end(), Closed(pid)) == 1;
    }));
    const Notice last = told_.All().back();
    const pid_t child = last.second != pid ? last.second : told_.All()[1].second;
    EXPECT_EQ(ListedGames(), std::to_string(child));
    kill(child, SIGKILL);
    EXPECT_TRUE(told_.WaitFor(Closed(child)));
}

TEST_F(APad, BalancesOpenedAndClosedInAForkStorm) {
    Register();
    Child storm(
        {"/bin/sh", "-c", "i=0; while [ $i -lt 300 ]; do (exec 3<\"$0\"; sleep 0.1) & i=$((i+1)); done; wait", node_});
    storm.Wait();
    const Child last = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitUntil([&last](const std::vector<Notice>& notices) {
        const auto closed = std::count_if(notices.begin(), notices.end(),
                                          [](const Notice& notice) { return notice.first == GAMEAPP_CLOSED; });
        return std::count(notices.begin(), notices.end(), Opened(last)) == 1 &&
               static_cast<std::size_t>(closed) * 2 + 1 == notices.size();
    }));
    std::map<pid_t, int> open;
    for (const Notice& notice : told_.All()) {
        open[notice.second] += notice.first == GAMEAPP_OPENED ? 1 : -1;
        EXPECT_TRUE(open[notice.second] == 0 || open[notice.second] == 1) << notice.second;
    }
    EXPECT_EQ(ListedGames(), std::to_string(last.Pid()));
}

TEST_F(APad, MakesNoGameOfWhoIsIgnored) {
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    const std::string config = std::getenv("XDG_CONFIG_HOME");
    std::filesystem::create_directories(config + "/quorvex");
    const std::string shell = std::filesystem::canonical("/bin/sh").filename();
    std::ofstream(config + "/quorvex/ignored-readers") << shell << '\n';
    EXPECT_TRUE(told_.WaitFor(Closed(game.Pid())));
    std::filesystem::remove_all(config + "/quorvex");
    EXPECT_TRUE(told_.WaitFor(Opened(game)));
}

/// The first; 0 while there is none.
pid_t ChildOf(pid_t parent) {
    const std::string id = std::to_string(parent);
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    pid_t child = 0;
    children >> child;
    return child;
}

TEST_F(APad, HasTheNewestOfItsReadersAndTheGameAboveAProcess) {
    Register();
    const Child first = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(first)));
    const Child launcher({"/bin/sh", "-c", "exec 3<\"$0\"; /bin/sleep 1000 3<&- & read line", node_});
    ASSERT_TRUE(told_.WaitFor(Opened(launcher)));
    EXPECT_EQ(GameList::Newest(), launcher.Pid());
    EXPECT_TRUE(GameList::Contains(first.Pid()));
    EXPECT_FALSE(GameList::Contains(getpid()));
    pid_t child = 0;
    ASSERT_TRUE(WaitUntil([&] { return (child = ChildOf(launcher.Pid())) != 0; }));
    EXPECT_EQ(GameList::GameAbove(child), launcher.Pid());
    EXPECT_EQ(GameList::GameAbove(launcher.Pid()), launcher.Pid());
    EXPECT_EQ(GameList::GameAbove(getpid()), 0);
    kill(child, SIGKILL);
}

constexpr std::chrono::milliseconds kPause{199};  // of 200, less what the two clocks may differ

struct TimedNotice {
    Told<Notice> told;
    steady_clock::time_point at;
};

void NoteTime(int type, int pid, void* data) {
    auto& notice = *static_cast<TimedNotice*>(data);
    notice.at = steady_clock::now();
    notice.told.Add({type, pid});
}

TEST_F(APad, IsQuietForAMomentAfterTheServiceHasRegistered) {
    TimedNotice notice;
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    const auto registered_at = steady_clock::now();
    ASSERT_EQ(gamepad_register_gameapp_status_callback(NoteTime, &notice), 1);
    EXPECT_TRUE(notice.told.WaitForAll({Opened(game)}));
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(NoteTime), 1);
    EXPECT_GE(notice.at - registered_at, kPause);
}

TEST_F(APad, IsQuietForAMomentAfterTheListWasRead) {
    TimedNotice notice;
    const Child game = ReaderOf(node_);
    ASSERT_EQ(gamepad_register_gameapp_status_callback(NoteTime, &notice), 1);
    const auto deadline = steady_clock::now() + Told<Notice>::kSoon;
    steady_clock::time_point read_at = steady_clock::now();
    while (ListedGames().empty() && steady_clock::now() < deadline) {
        read_at = steady_clock::now();
        std::this_thread::yield();
    }
    EXPECT_TRUE(notice.told.WaitForAll({Opened(game)}));
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(NoteTime), 1);
    EXPECT_GE(notice.at - read_at, kPause);
}

TEST_F(APad, IsWatchedOnlyWhileSomebodyListens) {
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    gamepad_unregister_gameapp_status_callback(TellNotice);
    const size_t descriptors = OpenDescriptors();
    EXPECT_TRUE(ThreadEnds("platform-events"));
    EXPECT_EQ(ListedGames(), "");
    EXPECT_EQ(GameList::Newest(), 0);
    for (int round = 0; round < 20; ++round) {
        Register();
        ASSERT_TRUE(told_.WaitFor(Opened(game)));
        EXPECT_EQ(gamepad_unregister_gameapp_status_callback(TellNotice), 1);
        told_.Forget();
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_TRUE(ThreadEnds("platform-events"));
}

TEST_F(APad, RefusesWhatIsNoNewCallback) {
    EXPECT_EQ(gamepad_register_gameapp_status_callback(nullptr, nullptr), 0);
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(nullptr), 0);
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(TellNotice), 0);
    EXPECT_EQ(gamepad_get_all_gameapp_info_list(nullptr), 0);
    Register();
    EXPECT_EQ(gamepad_register_gameapp_status_callback(TellNotice, &told_), 0);
}

class Shares : public APad {
protected:
    ~Shares() override {
        thread_.Run([this] { shares_.clear(); });
    }
    void Share(const GameList::ChangeFunction& on_change) {
        thread_.Run([&] { shares_.push_back(std::make_unique<GameList>(on_change)); });
    }

    EventsThread thread_;
    Told<std::string> order_;
    std::vector<std::unique_ptr<GameList>> shares_;
};

void TellOrder(int type, int /*pid*/, void* order) {
    static_cast<Told<std::string>*>(order)->Add(type == GAMEAPP_OPENED ? "service opened" : "service closed");
}

TEST_F(Shares, AreToldAfterTheService) {
    Share([this](pid_t, bool is_open) { order_.Add(is_open ? "share opened" : "share closed"); });
    ASSERT_EQ(gamepad_register_gameapp_status_callback(TellOrder, &order_), 1);
    Child game = ReaderOf(node_);
    EXPECT_TRUE(order_.WaitForAll({"service opened", "share opened"}));
    game.Kill();
    EXPECT_TRUE(order_.WaitForAll({"service opened", "share opened", "service closed", "share closed"}));
    EXPECT_EQ(gamepad_unregister_gameapp_status_callback(TellOrder), 1);
}

TEST_F(Shares, MayGoWhileTheyAreTold) {
    std::promise<void> is_gone;
    Share([&](pid_t, bool) {
        shares_.clear();
        is_gone.set_value();
    });
    const Child game = ReaderOf(node_);
    ASSERT_EQ(is_gone.get_future().wait_for(Told<Notice>::kSoon), std::future_status::ready);
    thread_.Run([] { EXPECT_EQ(GameList::Newest(), 0); });
}

TEST_F(Shares, MayEndTheNextOne) {
    Share([this](pid_t, bool is_open) {
        if (is_open && shares_.size() == 3) {
            shares_.erase(shares_.begin() + 1);
        }
        order_.Add("first");
    });
    Share([this](pid_t, bool) { order_.Add("second"); });
    Share([this](pid_t, bool) { order_.Add("third"); });
    const Child game = ReaderOf(node_);
    EXPECT_TRUE(order_.WaitForAll({"first", "third"}));
}

TEST_F(Shares, KeepTheListWhenTheServiceLeaves) {
    Share([this](pid_t pid, bool) { order_.Add(std::to_string(pid)); });
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    gamepad_unregister_gameapp_status_callback(TellNotice);
    EXPECT_TRUE(GameList::Contains(game.Pid()));
    const Child next = ReaderOf(node_);
    EXPECT_TRUE(order_.WaitForAll({std::to_string(game.Pid()), std::to_string(next.Pid())}));
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
}

TEST_F(Shares, BeginWithTheGamesThatRun) {
    Register();
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    Share([this](pid_t pid, bool is_open) { order_.Add((is_open ? "opened " : "closed ") + std::to_string(pid)); });
    EXPECT_TRUE(order_.WaitForAll({"opened " + std::to_string(game.Pid())}));
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
}

TEST_F(Shares, LeaveTheServiceToBeToldAfterItReadTheList) {
    Share([](pid_t, bool) {});
    const Child game = ReaderOf(node_);
    const auto deadline = steady_clock::now() + Told<Notice>::kSoon;
    while (!GameList::Contains(game.Pid()) && steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    Register();
    EXPECT_EQ(ListedGames(), std::to_string(game.Pid()));
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
}

struct SelfRemover {
    Told<Notice> told;
    std::atomic<int> result{-1};
};

void RemoveItself(int type, int pid, void* data) {
    auto& remover = *static_cast<SelfRemover*>(data);
    remover.result = gamepad_unregister_gameapp_status_callback(RemoveItself);
    remover.told.Add({type, pid});
}

TEST_F(APad, MayTakeItsCallbackAwayInsideTheCallback) {
    SelfRemover remover;
    ASSERT_EQ(gamepad_register_gameapp_status_callback(RemoveItself, &remover), 1);
    const Child game = ReaderOf(node_);
    ASSERT_TRUE(remover.told.WaitForAll({Opened(game)}));
    EXPECT_EQ(remover.result, 1);
    Register();
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
    EXPECT_TRUE(remover.told.WaitForAll({Opened(game)}));
}

struct Stayer {
    std::promise<void> has_entered;
    std::promise<void> may_leave;
    std::atomic<bool> has_left{false};
};

void Stay(int, int, void* data) {
    auto& stayer = *static_cast<Stayer*>(data);
    stayer.has_entered.set_value();
    stayer.may_leave.get_future().wait();
    stayer.has_left = true;
}

TEST_F(APad, WaitsForACallbackThatIsTakenAway) {
    Stayer stayer;
    ASSERT_EQ(gamepad_register_gameapp_status_callback(Stay, &stayer), 1);
    const Child game = ReaderOf(node_);
    ASSERT_EQ(stayer.has_entered.get_future().wait_for(Told<Notice>::kSoon), std::future_status::ready);
    auto has_left = std::async(std::launch::async, [&stayer] {
        EXPECT_EQ(gamepad_unregister_gameapp_status_callback(Stay), 1);
        return stayer.has_left.load();
    });
    EXPECT_EQ(has_left.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    stayer.may_leave.set_value();
    EXPECT_TRUE(has_left.get());
}

TEST_F(APad, MayBeUsedFromManyThreads) {
    std::atomic<bool> is_over{false};
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int number = 0; number < 3; ++number) {
        threads.emplace_back([&] {
            while (!is_over) {
                ListedGames();
                GameList::GameAbove(getpid());
                GameList::Newest();
                gamepad_register_gameapp_status_callback(TellNotice, &told_);
                gamepad_unregister_gameapp_status_callback(TellNotice);
            }
        });
    }
    for (int round = 0; round < 10; ++round) {
        const Child game = ReaderOf(node_);
        gamepad::ConnectedPads().Remove(pad_);
        gamepad::ConnectedPads().Add(pad_, "pad");
    }
    is_over = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    told_.Forget();
    Register();
    const Child game = ReaderOf(node_);
    EXPECT_TRUE(told_.WaitFor(Opened(game)));
}

}  // namespace
