#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "model_compositor.h"
#include "platform/screensaver.h"
#include "private_x_server.h"
#include "saver_session.h"

namespace {

using TheState = SaverSession;

size_t OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

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
    EXPECT_FALSE(HasThread("platform-events"));
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

TEST_F(TheState, LeavesNothingBehindWhenBusAndServerRestart) {
    PrivateXServer server;
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
    const size_t descriptors = OpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        restart();
    }
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() <= descriptors; })) << descriptors;
    Ignore();
}

TEST_F(TheState, MayBeWatchedAndIgnoredWhileResetsGoOn) {
    sessionBus_.Start();
    for (int i = 0; i < 50; ++i) {
        Watch();
        EXPECT_EQ(screensaver_reset(), 0);
        Ignore();
    }
    EXPECT_FALSE(HasThread("platform-events"));
}

TEST_F(TheState, OfACompositorWithoutAWayMakesTheResetFail) {
    const ModelCompositor compositor(settings_.Root() + "/wayland", 0);
    Watch();
    EXPECT_TRUE(WaitUntil([] { return screensaver_reset() != 0; }));
    Ignore();
}

}  // namespace
