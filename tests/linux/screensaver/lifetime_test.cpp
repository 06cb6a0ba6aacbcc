#include <gtest/gtest.h>

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
