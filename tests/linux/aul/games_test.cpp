#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "../games/gamemode_daemon.h"
#include "heard.h"
#include "own_settings.h"
#include "private_x_server.h"
#include "program.h"
#include "window.h"

namespace {

/// GameMode runs, a display does not.
class WithGames : public testing::Test {
protected:
    WithGames() { daemon_.Start(); }

    void Call(const std::string& call) const {
        const std::string object = " --object-path /com/feralinteractive/GameMode";
        EXPECT_EQ(OutputOf("gdbus call --session --dest com.feralinteractive.GameMode" + object +
                           " --method com.feralinteractive.GameMode." + call),
                  "(0,)");
    }
    void RegisterByPid(int pid) const { Call("RegisterGameByPID " + std::to_string(pid) + " " + std::to_string(pid)); }
    void UnregisterByPid(int pid) const {
        Call("UnregisterGameByPID " + std::to_string(pid) + " " + std::to_string(pid));
    }

    OwnSettings settings_;
    GameModeDaemon daemon_;
    Heard heard_;
};

TEST_F(WithGames, TheNewestHasTheFocusUntilItEndsWhereNobodyTells) {
    heard_.Listen();
    Child first = daemon_.Game();
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    const std::string id = IdOf(first.Pid());
    EXPECT_EQ(aul_app_get_status(id.c_str()), kFocused);
    Child second = daemon_.Game();
    const int secondPid = second.Pid();
    ASSERT_TRUE(heard_.WaitFor(secondPid, kFocus));
    EXPECT_NE(aul_app_get_status(id.c_str()), kFocused);
    second.Kill();
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    const int firstPid = first.Pid();
    first.Kill();
    ASSERT_TRUE(heard_.WaitFor(0, kFocus));
    EXPECT_EQ(heard_.All(),
              (std::vector<Signal>{{firstPid, kFocus}, {secondPid, kFocus}, {firstPid, kFocus}, {0, kFocus}}));
}

/// A window manager, and windows, besides.
class WithGamesOnAnXServer : public WithGames {
protected:
    WithGamesOnAnXServer() {
        server_.Start();
        manager_ = std::make_unique<WindowManager>();
    }

    PrivateXServer server_;
    std::unique_ptr<WindowManager> manager_;
};

TEST_F(WithGamesOnAnXServer, AGameUnderALauncherIsToldAsTheLauncher) {
    heard_.Listen();
    const Window window({}, {"/bin/sh", "-c", "\"$0\" \"$@\"; true"});
    ASSERT_NE(window.Pid(), window.StartedAs());
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    RegisterByPid(window.StartedAs());
    ASSERT_TRUE(heard_.WaitFor(window.StartedAs(), kFocus));
    const std::string id = IdOf(window.StartedAs());
    EXPECT_EQ(aul_app_get_status(id.c_str()), kFocused);
    const Window desktop;
    ASSERT_TRUE(heard_.WaitFor(desktop.Pid(), kFocus));
    EXPECT_NE(aul_app_get_status(id.c_str()), kFocused);
    window.Activate();
    EXPECT_TRUE(heard_.WaitFor(window.StartedAs(), kFocus));
}

TEST_F(WithGamesOnAnXServer, TheFocusedProcessIsToldAnewWhenItBecomesAGameAndWhenItIsNoneAnyMore) {
    heard_.Listen();
    const Window window;
    const Signal focused{window.Pid(), kFocus};
    ASSERT_TRUE(heard_.WaitForAll({focused}));
    RegisterByPid(window.Pid());
    ASSERT_TRUE(heard_.WaitForAll({focused, focused}));
    UnregisterByPid(window.Pid());
    EXPECT_TRUE(heard_.WaitForAll({focused, focused, focused}));
}

TEST_F(WithGamesOnAnXServer, AGameWithoutAWindowHasNoFocusUntilTheDisplayIsLost) {
    heard_.Listen();
    const Window window;
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    const Child game = daemon_.Game();
    const Window next;
    ASSERT_TRUE(heard_.WaitFor(next.Pid(), kFocus));
    EXPECT_EQ(heard_.All(), (std::vector<Signal>{{window.Pid(), kFocus}, {next.Pid(), kFocus}}));
    server_.Kill();
    EXPECT_TRUE(heard_.WaitFor(game.Pid(), kFocus));
}

// Another window than an X window may have the focus then.
TEST_F(WithGamesOnAnXServer, InsideWaylandTheNewestGameHasTheFocusWhileNoXWindowHasIt) {
    setenv("WAYLAND_DISPLAY", "wayland-9", 1);
    heard_.Listen();
    auto window = std::make_unique<Window>();
    const bool isTold = heard_.WaitFor(window->Pid(), kFocus);
    unsetenv("WAYLAND_DISPLAY");
    ASSERT_TRUE(isTold);
    const Child game = daemon_.Game();
    window->Kill();
    EXPECT_TRUE(heard_.WaitFor(game.Pid(), kFocus));
}

}  // namespace
