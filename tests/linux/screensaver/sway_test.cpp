#include "private_sway.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "platform/screensaver.h"
#include "saver_session.h"

namespace {

/// sway with the idle daemon that people run in it, which notes when the user is idle and when no longer.
class ASwaySession : public SaverSession {
protected:
    ASwaySession() { sway_.Start(); }

    std::string Notes() const { return sway_.Directory() + "/notes"; }
    std::string ReadNotes() const { return OutputOf("cat " + Notes()); }
    Program IdleDaemon() const {
        return Program(
            {"swayidle", "-w", "timeout", "1", "echo idle >>" + Notes(), "resume", "echo active >>" + Notes()},
            sway_.ClientSetting());
    }

    PrivateSway sway_;
};

TEST_F(ASwaySession, TakesTheUseOfAPadForActivity) {
    const Program idle = IdleDaemon();
    ASSERT_TRUE(WaitUntil([&] { return ReadNotes() == "idle"; }));
    EXPECT_EQ(screensaver_reset(), 0);
    ASSERT_TRUE(WaitUntil([&] { return ReadNotes() == "idle\nactive\nidle"; })) << ReadNotes();
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(WaitUntil([&] { return ReadNotes().find("idle\nactive\nidle\nactive") == 0; })) << ReadNotes();
}

TEST_F(ASwaySession, IsUsedAgainWhenItComesBack) {
    Watch();
    ASSERT_EQ(screensaver_reset(), 0);
    sway_.Kill();
    sway_.Start();
    const Program idle = IdleDaemon();
    ASSERT_TRUE(WaitUntil([&] { return ReadNotes() == "idle"; }));
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(WaitUntil([&] { return ReadNotes().find("idle\nactive") == 0; })) << ReadNotes();
}

// What the client is sent is in its protocol log.
TEST_F(ASwaySession, LetsNoProgramSeeAKey) {
    Program::Setting setting = sway_.ClientSetting();
    setting.environment["WAYLAND_DEBUG"] = "1";
    setting.output = sway_.Directory() + "/client";
    const Program client({"foot", "sleep", "1000"}, setting);
    const auto log = [&] { return OutputOf("cat " + setting.output); };
    ASSERT_TRUE(WaitUntil([&] { return OutputOf("swaymsg -t get_tree").find("\"foot\"") != std::string::npos; }));
    const Program idle = IdleDaemon();
    ASSERT_TRUE(WaitUntil([&] { return ReadNotes() == "idle"; }));
    EXPECT_EQ(screensaver_reset(), 0);
    ASSERT_TRUE(WaitUntil([&] { return ReadNotes().find("idle\nactive\nidle") == 0; }));
    EXPECT_NE(log().find("wl_seat"), std::string::npos);
    EXPECT_EQ(log().find(".key("), std::string::npos);
    EXPECT_EQ(log().find("wl_pointer"), std::string::npos);
}

}  // namespace
