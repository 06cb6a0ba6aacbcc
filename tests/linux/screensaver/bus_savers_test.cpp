#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/screensaver.h"
#include "private_x_server.h"
#include "saver_session.h"

namespace {

bool IsOwned(const std::string& name) {
    return OutputOf(
               "gdbus call --session --dest org.freedesktop.DBus --object-path / --method "
               "org.freedesktop.DBus.NameHasOwner " +
               name) == "(true,)";
}

void CallSaver(const std::string& name, const std::string& path, const std::string& methodAndArguments) {
    OutputOf("gdbus call --session --dest " + name + " --object-path " + path + " --method " + name + "." +
             methodAndArguments);
}

class AMateSession : public SaverSession {
protected:
    AMateSession() {
        sessionBus_.Start();
        server_.Start();
        StartSaver();
    }

    void StartSaver() {
        saver_ = std::make_unique<Program>(std::vector<std::string>{"mate-screensaver", "--no-daemon"});
        ASSERT_TRUE(WaitUntil([] { return IsOwned("org.mate.ScreenSaver"); }));
    }
    static void Show() { CallSaver("org.mate.ScreenSaver", "/org/mate/ScreenSaver", "SetActive true"); }

    PrivateXServer server_;
    std::unique_ptr<Program> saver_;
};

TEST_F(AMateSession, HasItsSaverPublishedAndEnded) {
    Watch();
    Show();
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

TEST_F(AMateSession, HasASaverPublishedThatShowsAlready) {
    Show();
    Watch();
    EXPECT_TRUE(BecomesOn());
}

TEST_F(AMateSession, HasItsSaverEndedByAResetBeforeAnythingIsKnownOfIt) {
    Show();
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(WaitUntil([] {
        return OutputOf(
                   "gdbus call --session --dest org.mate.ScreenSaver --object-path /org/mate/ScreenSaver --method "
                   "org.mate.ScreenSaver.GetActive") == "(false,)";
    }));
}

TEST_F(AMateSession, IsOffWhenItsSaverDiesAndIsUsedAgainWhenItReturns) {
    Watch();
    Show();
    ASSERT_TRUE(BecomesOn());
    saver_->Kill();
    ASSERT_TRUE(BecomesOff());
    StartSaver();
    Show();
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

TEST_F(AMateSession, SurvivesARestartOfTheBus) {
    Watch();
    Show();
    ASSERT_TRUE(BecomesOn());
    saver_->Kill();
    sessionBus_.Kill();
    ASSERT_TRUE(BecomesOff());
    sessionBus_.Start();
    StartSaver();
    Show();
    ASSERT_TRUE(BecomesOn());
    EXPECT_EQ(screensaver_reset(), 0);
    EXPECT_TRUE(BecomesOff());
}

/// light-locker, which needs a session of logind's.
class AFreedesktopSaver : public SaverSession {
protected:
    AFreedesktopSaver() {
        sessionBus_.Start();
        systemBus_.Start();
        server_.Start();
        logind_ = std::make_unique<Program>(
            std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"});
        AddSession();
        Program::Setting setting;
        setting.environment = {{"XDG_SESSION_ID", "c1"},
                               {"XDG_SESSION_PATH", "/org/freedesktop/login1/session/c1"},
                               {"XDG_SEAT_PATH", "/org/freedesktop/login1/seat/seat0"}};
        saver_ = std::make_unique<Program>(std::vector<std::string>{"light-locker"}, setting);
        EXPECT_TRUE(WaitUntil([] { return IsOwned(kName); }));
    }

    static std::string CallLogind(const std::string& methodAndArguments) {
        return OutputOf(
            "gdbus call --system --dest org.freedesktop.login1 --object-path /org/freedesktop/login1 --method "
            "org.freedesktop.DBus.Mock." +
            methodAndArguments);
    }
    static void AddSession() {
        EXPECT_TRUE(WaitUntil(
            [] { return CallLogind("AddSession c1 seat0 0 root true").find("session/c1") != std::string::npos; }));
        CallLogind(
            "AddMethod org.freedesktop.login1.Manager GetSessionByPID u o "
            "'ret = dbus.ObjectPath(\"/org/freedesktop/login1/session/c1\")'");
    }

    static constexpr char kName[] = "org.freedesktop.ScreenSaver";
    PrivateXServer server_;
    std::unique_ptr<Program> logind_;
    std::unique_ptr<Program> saver_;
};

TEST_F(AFreedesktopSaver, IsPublishedOnceAndEnded) {
    Watch();
    CallSaver(kName, "/org/freedesktop/ScreenSaver", "SetActive true");
    ASSERT_TRUE(BecomesOn());
    const int notices = Notices();
    EXPECT_EQ(screensaver_reset(), 0);
    ASSERT_TRUE(BecomesOff());
    EXPECT_EQ(Notices(), notices + 1);
}

}  // namespace
