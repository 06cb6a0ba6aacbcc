#include <gtest/gtest.h>
#include <xcb/screensaver.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>

#include "../games/temporary_folder.h"
#include "display/connect_lock.h"
#include "display/x11_display.h"
#include "events/events_thread.h"
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
            const Hold alone(xcbConnectLock);
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

// Another who uses the display holds the thread up after the state was asked for, until the answer and the notice of a
// change have both come.
TEST_F(AnXServer, IsBelievedItsLastWordWhenMuchComesAtOnce) {
    constexpr int kFirstOfExtensions = 64;
    constexpr std::chrono::seconds kSoon{20};
    const EventsThread thread;
    std::unique_ptr<X11Display> other;
    std::promise<void> isAsked;
    std::promise<void> mayGoOn;
    std::promise<void> isNoticed;
    const auto holdUp = [&] {
        other->Functions().xcb_flush(other->Connection());
        isAsked.set_value();
        mayGoOn.get_future().wait();
    };
    const auto notice = [&](const xcb_generic_event_t& event) {
        if ((event.response_type & 0x7f) >= kFirstOfExtensions) {
            isNoticed.set_value();
        }
    };
    server_.Kill();
    Watch();
    thread.Run([&] {
        other = std::make_unique<X11Display>(thread.Context(), X11Display::Handlers{holdUp, notice, [] {}});
        other->Start();
    });
    server_.Start();
    EXPECT_EQ(isAsked.get_future().wait_for(kSoon), std::future_status::ready);
    OutputOf("xset s activate");
    mayGoOn.set_value();
    EXPECT_EQ(isNoticed.get_future().wait_for(kSoon), std::future_status::ready);
    thread.Run([&] { other.reset(); });
    int isOn = 0;
    EXPECT_EQ(vconf_get_bool(kStateKey, &isOn), 0);
    EXPECT_EQ(isOn, 1);
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

// It stays away only if it is told while it does not show.
TEST_F(AnXServer, HasXscreensaverToldOfEachUse) {
    const TemporaryFolder tools;
    const std::string told = tools.Path("told");
    std::filesystem::permissions(
        tools.Write("xscreensaver-command", "#!/bin/sh\necho \"$*\" >>" + told + "; ls /proc/self/fd >>" + told + "\n"),
        std::filesystem::perms::owner_all);
    const std::string path = std::getenv("PATH");
    setenv("PATH", (tools.Path("") + ":" + path).c_str(), 1);
    OutputOf("xprop -root -f _SCREENSAVER_STATUS 32i -set _SCREENSAVER_STATUS 0");
    Watch();
    EXPECT_EQ(screensaver_reset(), 0);
    const auto isTold = [&] {
        const std::string text = OutputOf("cat " + told);
        // No other descriptors than the first three and that of the listing itself.
        return text == "-deactivate\n0\n1\n2\n3";
    };
    EXPECT_TRUE(WaitUntil(isTold)) << OutputOf("cat " + told);
    setenv("PATH", path.c_str(), 1);
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
