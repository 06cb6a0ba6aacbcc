#include <gtest/gtest.h>
#include <xcb/screensaver.h>

#include <cstdlib>
#include <memory>
#include <mutex>

#include "display/connect_lock.h"
#include "platform/screensaver.h"
#include "private_x_server.h"
#include "saver_session.h"

namespace {

class AnXServer : public SaverSession {
protected:
    AnXServer() { server_.Start(); }

    /// Milliseconds without user input, as the server counts them.
    static unsigned IdleTime() {
        xcb_connection_t* display = nullptr;
        {
            const std::lock_guard<std::mutex> alone(xcbConnectLock);
            display = xcb_connect(nullptr, nullptr);
        }
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
        const std::unique_ptr<xcb_screensaver_query_info_reply_t, decltype(&std::free)> info(
            xcb_screensaver_query_info_reply(display, xcb_screensaver_query_info(display, root), nullptr), std::free);
        const unsigned idle = info == nullptr ? 0 : info->ms_since_user_input;
        xcb_disconnect(display);
        return idle;
    }

    PrivateXServer server_;
};

TEST_F(AnXServer, HasItsOwnSaverPublishedAndEnded) {
    Watch();
    OutputOf("xset s activate");
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

TEST_F(AnXServer, HasASaverPublishedThatShowsAlready) {
    OutputOf("xset s activate");
    Watch();
    EXPECT_TRUE(BecomesOn());
}

TEST_F(AnXServer, StartsItsIdleTimeAnew) {
    constexpr unsigned kWhile = 1000;
    ASSERT_TRUE(WaitUntil([] { return IdleTime() > kWhile; }));
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(WaitUntil([] { return IdleTime() < kWhile; }));
}

TEST_F(AnXServer, IsUsedAgainWhenItComesBack) {
    Watch();
    OutputOf("xset s activate");
    ASSERT_TRUE(BecomesOn());
    server_.Kill();
    ASSERT_TRUE(BecomesOff());
    server_.Start();
    OutputOf("xset s activate");
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

TEST_F(AnXServer, HasXscreensaverPublishedAndEnded) {
    Program::Setting setting;
    setting.isOrdinaryUser = true;
    setting.environment = {{"HOME", "/nonexistent"}};
    const Program saver({"xscreensaver", "--no-splash"}, setting);
    ASSERT_TRUE(
        WaitUntil([] { return OutputOf("xscreensaver-command -time").find("non-blanked") != std::string::npos; }));
    Watch();
    OutputOf("xscreensaver-command -activate");
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

}  // namespace
