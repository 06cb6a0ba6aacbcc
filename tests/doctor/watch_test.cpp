// What the service makes of each event of a pad, shown live: as lines, and on a terminal.

#include <gmock/gmock.h>
#include <linux/input.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "../linux/games/gamemode_daemon.h"
#include "machine.h"
#include "program.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr int kNode = 5;

std::string ContentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The lines that are printed where there is no terminal.
class WatchedInLines : public Machine {
protected:
    /// The pad is open when this returns.
    void Watch() {
        Plug();
        folder_.Write("watch", Script("--watch </dev/null"));
        Program::Setting setting;
        setting.output = folder_.Path("lines");
        program_ =
            std::make_unique<Program>(std::vector<std::string>{"env", "-i", "/bin/sh", folder_.Path("watch")}, setting);
        const std::string watching = "watching " + StandardPad().name + "\n";
        ASSERT_TRUE(WaitUntil([&] { return Printed().find(watching) != std::string::npos; })) << Printed();
    }

    std::string Printed() const { return ContentOf(folder_.Path("lines")); }

    void Move(int type, int code, int value) { pads_.Send(kNode, type, code, value); }

    /// The line comes, after what came before.
    void ExpectLine(const std::string& line) {
        const auto at = [&] { return Printed().find("\n" + line + "\n", from_); };
        EXPECT_TRUE(WaitUntil([&] { return at() != std::string::npos; })) << line << "\nis missing in\n" << Printed();
        from_ = std::min(at(), Printed().size());
    }

    void SetStatus(const std::string& status) const {
        folder_.Write("run/quorvex/memory/accessory/playnest_status", status + "\n");
    }

    std::unique_ptr<Program> program_;

private:
    size_t from_ = 0;
};

TEST_F(WatchedInLines, ButtonsShowTheirKeys) {
    Watch();
    Move(EV_KEY, BTN_SOUTH, 1);
    ExpectLine("A pressed -> KEY_ENTER goes down");
    Move(EV_KEY, BTN_EAST, 1);
    ExpectLine("B pressed -> nothing: another key is held, KEY_ENTER");
    Move(EV_KEY, BTN_SOUTH, 0);
    ExpectLine("A let go -> KEY_ENTER goes up");
    Move(EV_KEY, BTN_NORTH, 1);
    ExpectLine("Y pressed -> nothing: the service has no key for it");
    Move(EV_KEY, BTN_NORTH, 0);
    ExpectLine("Y let go -> nothing: let go");
}

TEST_F(WatchedInLines, SticksShowTheirWay) {
    Watch();
    Move(EV_ABS, ABS_X, -12000);
    ExpectLine("left stick left (-12000) -> nothing: below the threshold");
    Move(EV_ABS, ABS_X, -20000);
    ExpectLine("left stick left (-20000) -> KEY_LEFT goes down");
    Move(EV_ABS, ABS_X, -30000);
    ExpectLine("left stick left (-30000) -> nothing: KEY_LEFT stays down");
    Move(EV_ABS, ABS_X, 0);
    ExpectLine("left stick X (0) -> KEY_LEFT goes up");
    Move(EV_ABS, ABS_HAT0Y, 1);
    ExpectLine("directional pad down -> KEY_DOWN goes down");
    Move(EV_ABS, ABS_HAT0Y, 0);
    ExpectLine("directional pad Y centred -> KEY_DOWN goes up");
    Move(EV_ABS, ABS_RZ, 200);
    ExpectLine("right trigger (200) -> nothing: the service has no key for it");
    Move(EV_ABS, ABS_RZ, 0);
    ExpectLine("right trigger (0) -> nothing: back in the middle");
}

TEST_F(WatchedInLines, CombinationsShowWhatTheyWaitFor) {
    Watch();
    Move(EV_KEY, BTN_SELECT, 1);
    ExpectLine("Select pressed -> nothing yet: KEY_POWER when held for a second");
    Move(EV_KEY, BTN_START, 1);
    ExpectLine("Start pressed -> nothing yet: KEY_POWER when held for a second");
    ExpectLine("held for a second -> KEY_POWER");
    Move(EV_KEY, BTN_START, 0);
    ExpectLine("Start let go -> nothing: let go");
    Move(EV_KEY, BTN_SELECT, 0);
    ExpectLine("Select let go -> nothing: let go");
    Move(EV_KEY, BTN_START, 1);
    ExpectLine("Start pressed -> KEY_F8");
}

TEST_F(WatchedInLines, HomeShowsItsKeyByTheSettings) {
    Watch();
    Move(EV_KEY, BTN_MODE, 1);
    ExpectLine("Home pressed -> KEY_F5");
    Move(EV_KEY, BTN_MODE, 0);
    ExpectLine("Home let go -> nothing: let go");
}

TEST_F(WatchedInLines, HomeThatIsToBeHeldShowsThat) {
    SetStatus("1000");
    Watch();
    Move(EV_KEY, BTN_MODE, 1);
    ExpectLine("Home pressed -> nothing yet: REMOTE_PLAYDECK when held for a second");
    ExpectLine("held for a second -> REMOTE_PLAYDECK");
    Move(EV_KEY, BTN_MODE, 0);
    ExpectLine("Home let go -> nothing: let go");
}

TEST_F(WatchedInLines, HomeWithABusyGameHubShowsThat) {
    SetStatus("2");
    Watch();
    Move(EV_KEY, BTN_MODE, 1);
    ExpectLine("Home pressed -> nothing: the game hub is busy");
}

TEST_F(WatchedInLines, AGameThatHasTheFocusShows) {
    GameModeDaemon games;
    games.Start();
    environment_["DBUS_SESSION_BUS_ADDRESS"] = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    Watch();
    Move(EV_KEY, BTN_SOUTH, 1);
    ExpectLine("A pressed -> KEY_ENTER goes down");
    const Child game = games.Game();
    const std::string nothing = "B pressed -> nothing: outside menu mode, a game has the focus";
    EXPECT_TRUE(WaitUntil([&] {
        const size_t seen = Printed().size();
        Move(EV_KEY, BTN_EAST, 1);
        Move(EV_KEY, BTN_EAST, 0);
        EXPECT_TRUE(WaitUntil([&] { return Printed().find("B let go", seen) != std::string::npos; }));
        return Printed().find(nothing) != std::string::npos;
    })) << Printed();
    EXPECT_THAT(Printed(), HasSubstr("KEY_ENTER goes up"));
    Move(EV_KEY, BTN_MODE, 1);
    ExpectLine("Home pressed -> nothing: outside menu mode, a game has the focus");
}

TEST_F(WatchedInLines, ABoundButtonShowsWhatItOpens) {
    WriteConfig("accessory/app_config.json",
                R"({"global_config": [{"key_code": 5, "runtitle": "Starfall Racer", "virtual_key": 138}]})");
    folder_.Write("home/.local/share/applications/starfall.desktop",
                  "[Desktop Entry]\nType=Application\nName=Starfall Racer\nExec=/bin/true\n");
    Watch();
    Move(EV_KEY, BTN_TR, 1);
    ExpectLine("RB pressed -> KEY_PROPS, for the terms are not accepted");
    folder_.Write("home/.local/state/quorvex/db/menu/homeview/homedatacontrol/defaultdisclaimeragree", "1\n");
    Move(EV_KEY, BTN_TR, 0);
    Move(EV_KEY, BTN_TR, 1);
    ExpectLine("RB pressed -> KEY_PROPS, opens \"Starfall Racer\"");
}

TEST_F(WatchedInLines, NothingOfTheMachineIsChanged) {
    HaveUinput();
    Watch();
    Move(EV_KEY, BTN_SOUTH, 1);
    ExpectLine("A pressed -> KEY_ENTER goes down");
    EXPECT_TRUE(fs::is_empty(folder_.Path("run")));
    EXPECT_TRUE(fs::is_empty(folder_.Path("home")));
    EXPECT_EQ(fs::file_size(TestbedPath("/dev/uinput")), 0U);
}

TEST_F(WatchedInLines, TheRequestToEndIsFollowed) {
    Watch();
    OutputOf("pkill -TERM -P " + std::to_string(program_->Id()));
    EXPECT_TRUE(WaitUntil([this] { return Printed().find("status 0") != std::string::npos; })) << Printed();
    EXPECT_THAT(Printed(), Not(HasSubstr("quorvex-doctor:")));
}

/// The view on a real terminal.
class WatchedOnATerminal : public Machine {
protected:
    ~WatchedOnATerminal() override { OutputOf(Tmux("kill-server")); }

    void Watch(const std::string& terminal = "screen-256color") {
        environment_["TERM"] = terminal;
        folder_.Write("watch", Script("--watch"));
        OutputOf(
            Tmux("-f /dev/null new-session -d -x 90 -y 30 'env -i /bin/sh " + folder_.Path("watch") + "; sleep 1000'"));
    }

    std::string Tmux(const std::string& command) const {
        return "env -u LD_PRELOAD LC_ALL=C.UTF-8 tmux -S " + folder_.Path("tmux") + " " + command + " 2>&1";
    }

    std::string Screen(const std::string& options = "") const { return OutputOf(Tmux("capture-pane -p " + options)); }

    void ExpectOnScreen(const std::string& text) {
        EXPECT_TRUE(WaitUntil([&] { return Screen().find(text) != std::string::npos; })) << text << "\n" << Screen();
    }

    /// The part of the picture is in other colours than the rest.
    bool IsLit(const std::string& part) const {
        const std::string screen = Screen("-e");
        const size_t at = screen.find(part);
        const size_t escape = screen.rfind("\033[", at);
        return at != std::string::npos && screen.substr(escape, at - escape).find("42m") != std::string::npos;
    }

    void ExpectLit(const std::string& part, bool is_lit) {
        EXPECT_TRUE(WaitUntil([&] { return IsLit(part) == is_lit; })) << part << "\n" << Screen("-e");
    }

    void Move(int type, int code, int value) { pads_.Send(kNode, type, code, value); }
};

TEST_F(WatchedOnATerminal, ThePictureLightsUpAndTheOutcomeIsNamed) {
    Plug();
    Watch();
    ExpectOnScreen("MENU MODE: the pad drives the menus");
    ExpectOnScreen(StandardPad().name);
    ExpectLit("(A)", false);
    Move(EV_KEY, BTN_SOUTH, 1);
    ExpectOnScreen("A pressed  ->  KEY_ENTER goes down");
    ExpectLit("(A)", true);
    ExpectLit("(B)", false);
    Move(EV_KEY, BTN_SOUTH, 0);
    ExpectOnScreen("A let go  ->  KEY_ENTER goes up");
    ExpectLit("(A)", false);
}

TEST_F(WatchedOnATerminal, TheStickMovesAndItsWayIsOneLine) {
    Plug();
    Watch();
    ExpectOnScreen(StandardPad().name);
    ExpectOnScreen("|   o   |           |   o   |");
    Move(EV_ABS, ABS_RX, 10000);
    ExpectOnScreen("right stick right (10000)  ->  nothing: below the threshold");
    Move(EV_ABS, ABS_RX, 12000);
    ExpectOnScreen("right stick right (12000)  ->  nothing: below the threshold");
    EXPECT_THAT(Screen(), Not(HasSubstr("(10000)")));
    Move(EV_ABS, ABS_RX, 32000);
    ExpectOnScreen("right stick right (32000)  ->  KEY_F12 goes down");
    ExpectOnScreen("|   o   |           |      O|");
}

TEST_F(WatchedOnATerminal, EveryPartOfThePictureCanLightUp) {
    Plug();
    Watch();
    ExpectOnScreen(StandardPad().name);
    const std::map<std::string, unsigned> buttons{
        {"(X)", BTN_WEST},          {"(Y)", BTN_NORTH},       {"[  LB  ]", BTN_TL},   {"[  RB  ]", BTN_TR},
        {"[ Select ]", BTN_SELECT}, {"[ Start ]", BTN_START}, {"( Home )", BTN_MODE}, {"   O   ", BTN_THUMBL}};
    for (const auto& [part, button] : buttons) {
        Move(EV_KEY, static_cast<int>(button), 1);
        ExpectLit(part, true);
        Move(EV_KEY, static_cast<int>(button), 0);
    }
    const std::vector<std::tuple<std::string, int, int>> axes{{"<--", ABS_HAT0X, -1},   {"-->", ABS_HAT0X, 1},
                                                              {" ^ ", ABS_HAT0Y, -1},   {" v ", ABS_HAT0Y, 1},
                                                              {"[  LT  ]", ABS_Z, 255}, {"[  RT  ]", ABS_RZ, 255}};
    for (const auto& [part, axis, value] : axes) {
        Move(EV_ABS, axis, value);
        ExpectLit(part, true);
        Move(EV_ABS, axis, 0);
    }
}

TEST_F(WatchedOnATerminal, AGameThatHasTheFocusIsAnnounced) {
    GameModeDaemon games;
    games.Start();
    environment_["DBUS_SESSION_BUS_ADDRESS"] = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    Plug();
    Watch();
    ExpectOnScreen("MENU MODE");
    const Child game = games.Game();
    ExpectOnScreen("A GAME HAS THE FOCUS: no keys are sent");
}

TEST_F(WatchedOnATerminal, WithoutAPadOneIsAskedFor) {
    Watch();
    ExpectOnScreen("no pad is connected: plug one in");
    Plug();
    ExpectOnScreen(StandardPad().name);
}

TEST_F(WatchedOnATerminal, QEndsIt) {
    Watch();
    ExpectOnScreen("q ends");
    OutputOf(Tmux("send-keys q"));
    ExpectOnScreen("status 0");
    EXPECT_THAT(Screen(), Not(HasSubstr("MENU MODE")));
}

TEST_F(WatchedOnATerminal, ControlCEndsIt) {
    Watch();
    ExpectOnScreen("q ends");
    OutputOf(Tmux("send-keys C-c"));
    ExpectOnScreen("status 0");
}

TEST_F(WatchedOnATerminal, ATerminalThatNobodyKnowsIsTold) {
    Watch("nobody-knows");
    ExpectOnScreen("this terminal is not known (TERM)");
    ExpectOnScreen("status 1");
}

}  // namespace
