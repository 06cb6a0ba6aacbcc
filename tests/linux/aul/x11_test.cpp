#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "../games/temporary_folder.h"
#include "heard.h"
#include "own_settings.h"
#include "private_bus.h"
#include "private_x_server.h"
#include "program.h"
#include "window.h"

namespace {

const int kMessagesAreShown = setenv("QUORVEX_LOG", "info", 1);

/// Without window manager, bus and listener, until the test makes them.
class OnAnXServer : public testing::Test {
protected:
    void Start() {
        server_.Start();
        StartManager();
    }
    void StartManager() { manager_ = std::make_unique<WindowManager>(); }

    OwnSettings settings_;
    PrivateBus bus_;  // not there
    PrivateXServer server_;
    std::unique_ptr<WindowManager> manager_;
    Heard heard_;
};

TEST_F(OnAnXServer, EachChangeOfTheFocusIsToldOnce) {
    Start();
    heard_.Listen();
    const Window first;
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    const Window second;
    ASSERT_TRUE(heard_.WaitFor(second.Pid(), kFocus));
    first.Activate();
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    EXPECT_EQ(heard_.All(),
              (std::vector<Signal>{{first.Pid(), kFocus}, {second.Pid(), kFocus}, {first.Pid(), kFocus}}));
}

// Any client may write what only the window manager should.
TEST_F(OnAnXServer, TheRootWindowIsNoWindowWithTheFocus) {
    Start();
    heard_.Listen();
    const Window first;
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    OutputOf(ToolPath() + " --pretend 0");
    ASSERT_TRUE(heard_.WaitFor(0, kFocus));
    const Window second;
    EXPECT_TRUE(heard_.WaitFor(second.Pid(), kFocus));
    first.Activate();
    EXPECT_TRUE(heard_.WaitForAll({{first.Pid(), kFocus}, {0, kFocus}, {second.Pid(), kFocus}, {first.Pid(), kFocus}}));
}

TEST_F(OnAnXServer, TheWindowThatHasTheFocusAlreadyIsTold) {
    Start();
    const Window window;
    ASSERT_TRUE(WaitUntil([] { return OutputOf("xprop -root _NET_ACTIVE_WINDOW").find("# 0x") != std::string::npos; }));
    heard_.Listen();
    EXPECT_TRUE(heard_.WaitForAll({{window.Pid(), kFocus}}));
}

TEST_F(OnAnXServer, OnlyTheFocusedOfTwoProcessesOfOneProgramIsFocused) {
    Start();
    heard_.Listen();
    const Window behind;
    ASSERT_TRUE(heard_.WaitFor(behind.Pid(), kFocus));
    const Window front;
    ASSERT_TRUE(heard_.WaitFor(front.Pid(), kFocus));
    const std::string id = IdOf(behind.Pid());
    EXPECT_EQ(id, "x11_window");
    EXPECT_NE(aul_app_get_status(id.c_str()), kFocused);
    EXPECT_EQ(IdOf(front.Pid()), id);
    EXPECT_EQ(aul_app_get_status(id.c_str()), kFocused);
}

TEST_F(OnAnXServer, TheFocusedApplicationIsKnownByAnIdThatNobodyAskedFor) {
    Start();
    heard_.Listen();
    const Window window;
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    EXPECT_EQ(aul_app_get_status("x11_window"), kFocused);
    EXPECT_EQ(aul_app_get_status("x11_windo"), -1);
    EXPECT_EQ(aul_app_get_status(""), -1);
    EXPECT_EQ(aul_app_get_status(nullptr), -1);
}

TEST_F(OnAnXServer, AFocusedWindowsClassLeadsToItsDesktopEntry) {
    const TemporaryFolder data;
    data.Write("applications/org.example.game.desktop", "[Desktop Entry]\nType=Application\nName=Game\n");
    setenv("XDG_DATA_HOME", data.Path("").c_str(), 1);
    Start();
    heard_.Listen();
    const Window window({"--class", "Org.Example.Game"});
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    EXPECT_EQ(IdOf(window.Pid()), "org.example.game.desktop");
    EXPECT_EQ(aul_app_get_status("org.example.game.desktop"), kFocused);
    unsetenv("XDG_DATA_HOME");
}

TEST_F(OnAnXServer, TheLastWindowsEndGivesTheFocusToTheDesktop) {
    Start();
    heard_.Listen();
    Window window;
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    const auto start = std::chrono::steady_clock::now();
    window.Kill();
    ASSERT_TRUE(heard_.WaitFor(0, kFocus));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(aul_app_get_status("x11_window"), -1);
    EXPECT_EQ(heard_.All().size(), 2U);
}

TEST_F(OnAnXServer, AClosedLastWindowOfAProcessThatLivesOnLosesTheFocus) {
    Start();
    heard_.Listen();
    const Window window;
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    window.Close();
    EXPECT_TRUE(heard_.WaitFor(0, kFocus));
}

TEST_F(OnAnXServer, AKilledWindowGivesTheFocusToTheNext) {
    Start();
    heard_.Listen();
    const Window next;
    ASSERT_TRUE(heard_.WaitFor(next.Pid(), kFocus));
    Window window;
    ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    window.Kill();
    EXPECT_TRUE(heard_.WaitFor(next.Pid(), kFocus));
}

TEST_F(OnAnXServer, AWindowThatLiesAboutItsProcessIsNotBelieved) {
    Start();
    heard_.Listen();
    const Window window({"--pid", "1"});
    EXPECT_TRUE(heard_.WaitForAll({{window.Pid(), kFocus}}));
}

TEST_F(OnAnXServer, AProcessInANamespaceOfItsOwnIsKnownByItsRealNumber) {
    Start();
    heard_.Listen();
    std::vector<std::string> unshare{"unshare", "--pid", "--fork", "--kill-child"};
    if (geteuid() != 0) {
        unshare.insert(unshare.end(), {"--user", "--map-root-user"});
    }
    const Window window({}, unshare);
    ASSERT_NE(window.Pid(), window.StartedAs());
    EXPECT_TRUE(heard_.WaitForAll({{window.Pid(), kFocus}}));
}

TEST_F(OnAnXServer, ADisplayThatComesLaterIsUsed) {
    heard_.Listen();
    Start();
    const Window window;
    EXPECT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
}

TEST_F(OnAnXServer, ALostDisplayIsUsedAgainWithAMessageForEachChange) {
    testing::internal::CaptureStderr();
    Start();
    heard_.Listen();
    for (int i = 0; i < 3; ++i) {
        const Window window;
        ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
        server_.Kill();
        ASSERT_TRUE(heard_.WaitFor(0, kFocus));
        Start();
    }
    const Window last;
    ASSERT_TRUE(heard_.WaitFor(last.Pid(), kFocus));
    const std::string log = testing::internal::GetCapturedStderr();
    const std::string display = std::string("X display ") + std::getenv("DISPLAY") + ": ";
    std::vector<std::string> lines;
    for (size_t at = log.find(display); at != std::string::npos; at = log.find(display, at + 1)) {
        lines.push_back(log.substr(at + display.size(), 3));
    }
    EXPECT_THAT(lines, testing::ElementsAre("not", "the", "not", "the", "not", "the")) << log;
}

TEST_F(OnAnXServer, ADisplayIsUsedWhereSwayWasEarlier) {
    setenv("SWAYSOCK", "/nowhere/sway.sock", 1);
    Start();
    heard_.Listen();
    const Window window;
    EXPECT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    unsetenv("SWAYSOCK");
}

TEST_F(OnAnXServer, RestartsLeaveNoDescriptorsAndThreadsBehind) {
    server_.Start();
    heard_.Listen();
    size_t descriptors = 0;
    for (int i = 0; i < 8; ++i) {
        StartManager();
        const Window window;
        ASSERT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
        ASSERT_TRUE(ThreadEnds("platform-x11"));
        descriptors = descriptors == 0 ? OpenDescriptors() : descriptors;
        EXPECT_EQ(OpenDescriptors(), descriptors);
        server_.Kill();
        ASSERT_TRUE(heard_.WaitFor(0, kFocus));
        server_.Start();
    }
}

TEST_F(OnAnXServer, AServerThatHangsHoldsNobodyUp) {
    const std::string name = std::getenv("DISPLAY");
    Program::Setting setting;
    const Program server({"Xvfb", name, "-noreset", "-ac"}, setting);
    ASSERT_TRUE(WaitUntil([&] { return access(("/tmp/.X11-unix/X" + name.substr(1)).c_str(), F_OK) == 0; }));
    kill(server.Id(), SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    heard_.Listen();
    EXPECT_EQ(aul_app_get_status("x"), -1);
    Heard::Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_TRUE(heard_.All().empty());
    kill(server.Id(), SIGCONT);
    EXPECT_TRUE(ThreadEnds("platform-x11"));
    heard_.Listen();
    StartManager();
    const Window window;
    EXPECT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    manager_.reset();
}

TEST_F(OnAnXServer, NothingIsHeardAfterListeningEnded) {
    Start();
    heard_.Listen();
    const Window first;
    ASSERT_TRUE(heard_.WaitFor(first.Pid(), kFocus));
    Heard::Stop();
    heard_.Forget();
    EXPECT_TRUE(ThreadEnds("platform-events"));
    const Window second;
    second.Activate();
    EXPECT_NE(aul_app_get_status("x11_window"), kFocused);
    EXPECT_TRUE(heard_.All().empty());
}

int StopFromInside(int /*pid*/, int /*status*/, void* calls) {
    ++*static_cast<std::atomic<int>*>(calls);
    return aul_listen_app_status_signal(nullptr, nullptr);
}

TEST_F(OnAnXServer, ListeningMayBeEndedFromInsideASignal) {
    Start();
    std::atomic<int> calls{0};
    ASSERT_EQ(aul_listen_app_status_signal(StopFromInside, &calls), 0);
    const Window window;
    EXPECT_TRUE(WaitUntil([&] { return calls == 1; }));
    EXPECT_TRUE(ThreadEnds("platform-events"));
    heard_.Listen();
    EXPECT_TRUE(heard_.WaitFor(window.Pid(), kFocus));
    EXPECT_EQ(calls, 1);
}

}  // namespace
