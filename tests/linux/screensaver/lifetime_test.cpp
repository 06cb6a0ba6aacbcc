#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "model_compositor.h"
#include "platform/screensaver.h"
#include "private_x_server.h"
#include "saver_session.h"

namespace {

using TheState = SaverSession;

TEST_F(TheState, IsOffWhereThereIsNothingAndAResetSucceeds) {
    EXPECT_EQ(screensaver_reset(), 0);
    Watch();
    int isOn = 1;
    EXPECT_EQ(vconf_get_bool(kStateKey, &isOn), 0);
    EXPECT_EQ(isOn, 0);
}

TEST_F(TheState, ThatAnEarlierProcessHasLeftBehindIsNotBelieved) {
    std::filesystem::create_directories(std::filesystem::path(settings_.FileOf(kStateKey)).parent_path());
    std::ofstream(settings_.FileOf(kStateKey)) << "true\n";
    Watch();
    int isOn = 1;
    EXPECT_EQ(vconf_get_bool(kStateKey, &isOn), 0);
    EXPECT_EQ(isOn, 0);
}

TEST_F(TheState, IsOffAndNothingRunsAfterTheLastWatch) {
    PrivateXServer server;
    server.Start();
    Watch();
    EXPECT_TRUE(WaitUntil([] { return HasThread("platform-events"); }));
    OutputOf("xset s activate");
    ASSERT_TRUE(BecomesOn());
    Ignore();
    EXPECT_TRUE(ThreadEnds("platform-events"));
    int isOn = 1;
    EXPECT_EQ(vconf_get_bool(kStateKey, &isOn), 0);
    EXPECT_EQ(isOn, 0);
}

TEST_F(TheState, IsWatchedFromABusThatComesLater) {
    PrivateXServer server;
    Watch();
    server.Start();
    sessionBus_.Start();
    OutputOf("xset s activate");
    EXPECT_TRUE(BecomesOn());
    Ignore();
}

// A server that was stopped accepts connections and never answers.
TEST_F(TheState, IsGivenUpAtOnceWhileTheServerHangs) {
    PrivateXServer server;
    server.Start();
    server.Stop();
    Watch();
    EXPECT_EQ(screensaver_reset(), 0);
    const auto before = std::chrono::steady_clock::now();
    Ignore();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    server.Continue();
}

TEST_F(TheState, IsWatchedAgainWhenAServerThatHungGoesOn) {
    PrivateXServer server;
    server.Start();
    OutputOf("xset s activate");
    server.Stop();
    Watch();
    server.Continue();
    EXPECT_TRUE(BecomesOn());
    Ignore();
}

// What is open while all is missing changes from moment to moment, as each thing is given up and waited for; a leak
// grows with the restarts.
TEST_F(TheState, LeavesNothingBehindWhenBusAndServerRestart) {
    constexpr int kRestarts = 20;
    PrivateXServer server;
    const size_t before = OpenDescriptors();
    Watch();
    const auto restart = [&] {
        sessionBus_.Start();
        server.Start();
        OutputOf("xset s activate");
        EXPECT_TRUE(BecomesOn());
        server.Kill();
        sessionBus_.Kill();
        EXPECT_TRUE(BecomesOff());
    };
    restart();
    const size_t first = OpenDescriptors();
    for (int i = 0; i < kRestarts; ++i) {
        restart();
    }
    EXPECT_LT(OpenDescriptors(), first + kRestarts / 2);
    Ignore();
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() == before; })) << "a try to connect ends by itself";
}

TEST_F(TheState, MayBeWatchedAndIgnoredWhileResetsGoOn) {
    sessionBus_.Start();
    for (int i = 0; i < 50; ++i) {
        Watch();
        EXPECT_EQ(screensaver_reset(), 0);
        Ignore();
    }
    EXPECT_TRUE(ThreadEnds("platform-events"));
}

TEST_F(TheState, OfACompositorWithoutAWayMakesTheResetFail) {
    const ModelCompositor compositor(settings_.Root() + "/wayland", 0);
    Watch();
    EXPECT_TRUE(WaitUntil([] { return screensaver_reset() != 0; }));
    Ignore();
}

}  // namespace
