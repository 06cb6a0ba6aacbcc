#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "gamemode_daemon.h"
#include "own_settings.h"
#include "service_callback.h"

namespace {

class WithGameMode : public testing::Test {
protected:
    ~WithGameMode() override { gamepad_unregister_gameapp_status_callback(TellNotice); }
    void Register() { ASSERT_EQ(gamepad_register_gameapp_status_callback(TellNotice, &told_), 1); }

    GameModeDaemon daemon_;
    Told<Notice> told_;
};

TEST_F(WithGameMode, AGameIsToldOfWhenItRegistersAndWhenItIsKilled) {
    daemon_.Start();
    Register();
    Child game = daemon_.Game();
    const pid_t pid = game.Pid();
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    EXPECT_EQ(ListedGames(), std::to_string(pid));
    const auto start = std::chrono::steady_clock::now();
    game.Kill();
    ASSERT_TRUE(told_.WaitForAll({{GAMEAPP_OPENED, pid}, Closed(pid)}));
    // The daemon itself looks for dead games every 5 s only.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(ListedGames(), "");
}

TEST_F(WithGameMode, AGameThatEndsByItselfIsToldOfOnce) {
    daemon_.Start();
    Register();
    Child game({"/usr/games/gamemoderun", "/bin/sh", "-c", "read line"});
    const pid_t pid = game.Pid();
    ASSERT_TRUE(told_.WaitForAll({Opened(game)}));
    game.Write("end");
    game.Wait();
    Child next = daemon_.Game();
    EXPECT_TRUE(told_.WaitForAll({{GAMEAPP_OPENED, pid}, Closed(pid), Opened(next)}));
}

TEST_F(WithGameMode, GamesThatRunAlreadyAreToldOfOldestFirst) {
    daemon_.Start();
    Register();
    Child first = daemon_.Game();
    ASSERT_TRUE(told_.WaitForAll({Opened(first)}));
    Child second = daemon_.Game();
    ASSERT_TRUE(told_.WaitFor(Opened(second)));
    ASSERT_EQ(gamepad_unregister_gameapp_status_callback(TellNotice), 1);
    EXPECT_EQ(ListedGames(), "");
    told_.Forget();
    Register();
    EXPECT_TRUE(told_.WaitForAll({Opened(first), Opened(second)}));
    EXPECT_EQ(ListedGames(), std::to_string(first.Pid()) + "," + std::to_string(second.Pid()));
}

TEST_F(WithGameMode, TheDaemonsDeathClosesItsGames) {
    daemon_.Start();
    Register();
    Child first = daemon_.Game();
    ASSERT_TRUE(told_.WaitForAll({Opened(first)}));
    Child second = daemon_.Game();
    ASSERT_TRUE(told_.WaitFor(Opened(second)));
    daemon_.Kill();
    EXPECT_TRUE(told_.WaitForAll({Opened(first), Opened(second), Closed(first.Pid()), Closed(second.Pid())}));
    EXPECT_EQ(ListedGames(), "");
}

TEST_F(WithGameMode, ItsReturnListsAnew) {
    daemon_.Start();
    Register();
    Child before = daemon_.Game();
    ASSERT_TRUE(told_.WaitFor(Opened(before)));
    daemon_.Kill();
    ASSERT_TRUE(told_.WaitFor(Closed(before.Pid())));
    daemon_.Start();
    Child after = daemon_.Game();
    EXPECT_TRUE(told_.WaitForAll({Opened(before), Closed(before.Pid()), Opened(after)}));
    EXPECT_EQ(ListedGames(), std::to_string(after.Pid()));
}

TEST_F(WithGameMode, TheDaemonMayComeLater) {
    Register();
    daemon_.Start();
    Child game = daemon_.Game();
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
}

TEST_F(WithGameMode, ALostBusClosesItsGames) {
    daemon_.Start();
    Register();
    Child game = daemon_.Game();
    ASSERT_TRUE(told_.WaitFor(Opened(game)));
    daemon_.KillBus();
    EXPECT_TRUE(told_.WaitFor(Closed(game.Pid())));
    daemon_.StartBus();
    daemon_.Start();
    Child next = daemon_.Game();
    EXPECT_TRUE(told_.WaitFor(Opened(next)));
}

TEST_F(WithGameMode, TheBusMayComeLater) {
    daemon_.KillBus();
    Register();
    EXPECT_EQ(ListedGames(), "");
    daemon_.StartBus();
    daemon_.Start();
    Child game = daemon_.Game();
    EXPECT_TRUE(told_.WaitForAll({Opened(game)}));
}

TEST_F(WithGameMode, ManyBusesLeaveNothingBehind) {
    Register();
    size_t descriptors = 0;
    for (int round = 0; round < 12; ++round) {
        daemon_.Start();
        Child game = daemon_.Game();
        const pid_t pid = game.Pid();
        ASSERT_TRUE(told_.WaitFor(Opened(game)));
        game.Kill();
        ASSERT_TRUE(told_.WaitFor(Closed(pid)));
        const size_t now = OpenDescriptors();
        descriptors = round < 1 ? now : descriptors;
        EXPECT_EQ(now, descriptors) << "round " << round;
        daemon_.KillBus();
        daemon_.StartBus();
    }
}

TEST_F(WithGameMode, ADozenShortGamesAreEachOpenedAndClosed) {
    daemon_.Start();
    Register();
    std::vector<pid_t> pids;
    for (int count = 0; count < 12; ++count) {
        Child game({"/usr/games/gamemoderun", "/bin/true"});
        pids.push_back(game.Pid());
        game.Wait();
    }
    Child last = daemon_.Game();
    ASSERT_TRUE(told_.WaitUntil([&](const std::vector<Notice>& notices) {
        return !notices.empty() && std::count(notices.begin(), notices.end(), Opened(last)) == 1 &&
               std::count_if(notices.begin(), notices.end(),
                             [](const Notice& notice) { return notice.first == GAMEAPP_CLOSED; }) *
                       2 ==
                   static_cast<std::ptrdiff_t>(notices.size()) - 1;
    }));
    const std::vector<Notice> notices = told_.All();
    for (const pid_t pid : pids) {
        const auto opened = std::count(notices.begin(), notices.end(), Notice{GAMEAPP_OPENED, pid});
        EXPECT_EQ(opened, std::count(notices.begin(), notices.end(), Closed(pid)));
        EXPECT_LE(opened, 1);
    }
    EXPECT_EQ(ListedGames(), std::to_string(last.Pid()));
}

}  // namespace
