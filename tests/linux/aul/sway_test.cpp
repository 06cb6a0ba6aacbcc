#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "heard.h"
#include "own_settings.h"
#include "private_bus.h"
#include "private_sway.h"
#include "program.h"

namespace {

/// Without sway, until the test starts it.
class InSway : public testing::Test {
protected:
    std::unique_ptr<Program> Window() const {
        Program::Setting setting = sway_.ClientSetting();
        setting.environment["LC_ALL"] = "C.UTF-8";
        return std::make_unique<Program>(std::vector<std::string>{"foot", "sleep", "1000"}, setting);
    }
    static void Command(const std::string& command) { OutputOf("swaymsg '" + command + "'"); }

    OwnSettings settings_;
    PrivateBus bus_;  // not there
    PrivateSway sway_;
    Heard heard_;
};

TEST_F(InSway, EachChangeOfTheFocusIsToldOnce) {
    sway_.Start();
    heard_.Listen();
    const auto first = Window();
    ASSERT_TRUE(heard_.WaitFor(first->Id(), kFocus));
    const auto second = Window();
    ASSERT_TRUE(heard_.WaitFor(second->Id(), kFocus));
    Command("[pid=" + std::to_string(first->Id()) + "] focus");
    ASSERT_TRUE(heard_.WaitFor(first->Id(), kFocus));
    EXPECT_EQ(heard_.All(),
              (std::vector<Signal>{{first->Id(), kFocus}, {second->Id(), kFocus}, {first->Id(), kFocus}}));
}

TEST_F(InSway, TheFocusedWindowIsKnownByItsDesktopEntry) {
    sway_.Start();
    heard_.Listen();
    const auto window = Window();
    ASSERT_TRUE(heard_.WaitFor(window->Id(), kFocus));
    EXPECT_EQ(IdOf(window->Id()), "foot.desktop");
    EXPECT_EQ(aul_app_get_status("foot.desktop"), kFocused);
}

TEST_F(InSway, TheWindowThatHasTheFocusAlreadyIsTold) {
    sway_.Start();
    const auto window = Window();
    ASSERT_TRUE(WaitUntil([] { return OutputOf("swaymsg -t get_tree").find("foot") != std::string::npos; }));
    heard_.Listen();
    EXPECT_TRUE(heard_.WaitForAll({{window->Id(), kFocus}}));
}

TEST_F(InSway, TheLastWindowsEndGivesTheFocusToTheDesktop) {
    sway_.Start();
    heard_.Listen();
    const auto next = Window();
    ASSERT_TRUE(heard_.WaitFor(next->Id(), kFocus));
    const auto window = Window();
    ASSERT_TRUE(heard_.WaitFor(window->Id(), kFocus));
    window->Kill();
    ASSERT_TRUE(heard_.WaitFor(next->Id(), kFocus));
    next->Kill();
    EXPECT_TRUE(heard_.WaitFor(0, kFocus));
}

TEST_F(InSway, AnEmptyWorkspaceTakesTheFocusAway) {
    sway_.Start();
    heard_.Listen();
    const auto window = Window();
    ASSERT_TRUE(heard_.WaitFor(window->Id(), kFocus));
    Command("workspace 7");
    ASSERT_TRUE(heard_.WaitFor(0, kFocus));
    EXPECT_NE(aul_app_get_status("foot.desktop"), kFocused);
    Command("workspace 1");
    EXPECT_TRUE(heard_.WaitFor(window->Id(), kFocus));
}

TEST_F(InSway, ALostSwayIsUsedAgain) {
    heard_.Listen();
    for (int i = 0; i < 3; ++i) {
        sway_.Start();
        const auto window = Window();
        ASSERT_TRUE(heard_.WaitFor(window->Id(), kFocus));
        sway_.Kill();
        ASSERT_TRUE(heard_.WaitFor(0, kFocus));
    }
}

TEST_F(InSway, ARestartedSwayIsFoundByItsNewSocket) {
    sway_.Start();
    const std::string socket = sway_.Directory() + "/sway-ipc." + std::to_string(getuid()) + ".4711.sock";
    std::filesystem::rename(sway_.Directory() + "/sway.sock", socket);
    heard_.Listen();
    const auto window = Window();
    EXPECT_TRUE(heard_.WaitForAll({{window->Id(), kFocus}}));
}

/// Listens where sway should, and says what a test wants it to say.
class SomebodyElse {
public:
    explicit SomebodyElse(const std::string& path) : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener_, 8), 0);
    }
    ~SomebodyElse() {
        close(connection_);
        close(listener_);
    }
    SomebodyElse(const SomebodyElse&) = delete;
    SomebodyElse& operator=(const SomebodyElse&) = delete;

    void Accept() { connection_ = accept(listener_, nullptr, nullptr); }
    void Say(const std::string& text) const { EXPECT_GT(send(connection_, text.data(), text.size(), MSG_NOSIGNAL), 0); }
    void SayMessage(uint32_t type, const std::string& body) const {
        const uint32_t numbers[2] = {static_cast<uint32_t>(body.size()), type};
        Say("i3-ipc" + std::string(reinterpret_cast<const char*>(numbers), sizeof numbers) + body);
    }
    bool IsLeft() const {
        char part[256];
        ssize_t size = 0;
        while ((size = recv(connection_, part, sizeof part, 0)) > 0) {
        }
        return size <= 0;
    }

private:
    int listener_;
    int connection_ = -1;
};

TEST_F(InSway, AStrangerBehindTheSocketIsLeft) {
    for (const std::string& text :
         {std::string("HTTP/1.1 400 Bad Request\r\n\r\n"), std::string("i3-ipc\xff\xff\xff\xff\x04\0\0\0", 14)}) {
        std::filesystem::remove(sway_.Directory() + "/sway.sock");
        SomebodyElse stranger(sway_.Directory() + "/sway.sock");
        heard_.Listen();
        stranger.Accept();
        stranger.Say(text);
        EXPECT_TRUE(stranger.IsLeft());
        Heard::Stop();
    }
    EXPECT_TRUE(heard_.All().empty());
}

TEST_F(InSway, NonsenseInAMessageIsPassedOver) {
    SomebodyElse stranger(sway_.Directory() + "/sway.sock");
    heard_.Listen();
    stranger.Accept();
    const uint32_t window = 0x80000003U;
    stranger.SayMessage(4, std::string(100000, '['));
    stranger.SayMessage(4, R"({"nodes": 3, "focused": "yes", "floating_nodes": [7, null, {"pid": "x"}]})");
    stranger.SayMessage(window, "");
    stranger.SayMessage(window, "[1, 2]");
    stranger.SayMessage(window, R"({"change": 5, "container": {"pid": 3}})");
    stranger.SayMessage(window, R"({"change": "focus", "container": "x"})");
    stranger.SayMessage(window, R"({"change": "focus", "container": {"pid": 1e30, "app_id": {}}})");
    stranger.SayMessage(window, R"({"change": "focus", "container": {"pid": -5, "window_properties": []}})");
    const std::string good = R"({"change": "focus", "container": {"pid": )" + std::to_string(getpid()) + "}}";
    stranger.SayMessage(99, "{}");
    stranger.SayMessage(window, good);
    EXPECT_TRUE(heard_.WaitForAll({{getpid(), kFocus}}));
}

}  // namespace
