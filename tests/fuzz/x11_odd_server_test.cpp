// X servers that no real one is like, found by fuzzing.

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "device_power/x11_power.h"
#include "display/x11_connection.h"
#include "fuzz.h"
#include "screensaver/x11_saver.h"
#include "socket_server.h"
#include "x11_server.h"

namespace {

/// What the server has: a root window, one screen, no extension.
const std::string kWithAScreen{"\1\0\0\0\0\0\0", 7};
const std::string kWithoutAScreen{"\1\0\0\0\7\0\0", 7};
const std::string kNoEvent = "\1";
/// Neither an event nor a reply.
const char kNothingYet = '\6';

/// A reply of 32 bytes with the value's format and number of items, behind which nothing follows.
std::string Reply(char format, char items) {
    std::string reply(34, '\0');
    reply[3] = format;
    reply[2 + 16] = items;
    return reply;
}

/// Iterates the default context until the time has passed and all that was due by then is done.
void RunFor(unsigned milliseconds) {
    bool isOver = false;
    ContextSource timer;
    timer.After(g_main_context_default(), milliseconds, [&isOver] { isOver = true; });
    while (!isOver) {
        g_main_context_iteration(nullptr, TRUE);
    }
    fuzz::RunContext();
}

class AnOddServer : public testing::Test {
protected:
    AnOddServer() {
        fuzz::Set("WAYLAND_DISPLAY", "");
        fuzz::Set("DISPLAY", "elsewhere:0");
    }
};

TEST_F(AnOddServer, WithoutAScreenIsNotUsed) {
    fuzz::Input input(reinterpret_cast<const std::uint8_t*>(kWithoutAScreen.data()), kWithoutAScreen.size());
    const fuzz::X11Server server(input);
    const X11Saver saver(g_main_context_default(), {[] {}, [](Saver&) {}});
    fuzz::RunContext();
    EXPECT_FALSE(saver.CanBeReset());
}

TEST_F(AnOddServer, ThatPromisesMoreThanItSendsIsNotBelieved) {
    const std::string said = kWithAScreen + kNoEvent + Reply(0, 0) + kNoEvent + Reply(32, 1) + kNoEvent;
    fuzz::Input input(reinterpret_cast<const std::uint8_t*>(said.data()), said.size());
    const fuzz::X11Server server(input);
    const X11Saver saver(g_main_context_default(), {[] {}, [](Saver&) {}});
    fuzz::RunContext();
    EXPECT_TRUE(saver.CanBeReset());
    EXPECT_TRUE(input.IsEmpty());
    EXPECT_FALSE(saver.IsOn());
}

// Its socket would be full one day, and sending would wait.
TEST_F(AnOddServer, ThatHangsIsAskedForItsPowerOnce) {
    const std::string kWithPower{"\1\0\0\0\0\1\0", 7};
    const std::string said = kWithPower + std::string(1000, kNothingYet);
    fuzz::Input input(reinterpret_cast<const std::uint8_t*>(said.data()), said.size());
    const fuzz::X11Server server(input);
    X11Power power(g_main_context_default(), [] {});
    power.SetWanted(true);
    RunFor(2 * X11Power::kMsBetweenQuestions + 100);
    EXPECT_EQ(server.PowerQuestions(), 1U);
    EXPECT_FALSE(input.IsEmpty());
}

// The thread before may still be ending, and with it what it shared.
TEST_F(AnOddServer, IsConnectedToAnewByTheNextEventsThread) {
    fuzz::Input input(reinterpret_cast<const std::uint8_t*>(kWithoutAScreen.data()), kWithoutAScreen.size());
    const fuzz::X11Server server(input);
    const auto ours = X11Connection::Shared(g_main_context_default());
    EXPECT_EQ(X11Connection::Shared(g_main_context_default()), ours);
    std::thread([&ours] { EXPECT_NE(X11Connection::Shared(g_main_context_default()), ours); }).join();
}

}  // namespace
