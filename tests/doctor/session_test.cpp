// The report in a session that has everything, all of it real, and where one thing of it is missing or broken.

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "../linux/whole/desktop.h"
#include "../linux/whole/silent_server.h"
#include "machine.h"
#include "model_compositor.h"
#include "private_sway.h"

namespace {

using testing::HasSubstr;

class InASession : public Machine {
protected:
    InASession() {
        for (const auto& [name, value] : desktop_.Variables()) {
            environment_[name] = value;
        }
        HaveUinput();
        Plug();
        StartService();
    }

    Desktop desktop_;
};

TEST_F(InASession, EverythingWorks) {
    const Window window;
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    EXPECT_TRUE(said.json["works"].asBool());
    EXPECT_THAT(said.output, testing::Not(HasSubstr("\"remedy\""))) << said.output;
    ExpectFinding(said, "keys", "/dev/uinput can be opened", "works");
    ExpectFinding(said, "pads", "standard layout", "works");
    ExpectFinding(said, "bus", "answers", "works");
    ExpectFinding(said, "games", "GameMode runs", "works");
    ExpectFinding(said, "focus", "told; now it is ", "works");
    EXPECT_THAT(said.Finding("screensaver", "")["text"].asString(),
                testing::AllOf(HasSubstr("org.mate.ScreenSaver"), HasSubstr("the X server")));
    ExpectFinding(said, "standby", "told by logind and the display", "works");
    ExpectFinding(said, "store", "answers", "works");
    ExpectFinding(said, "service", "runs since", "works");
}

TEST_F(InASession, NoWindowMayHaveTheFocus) {
    ExpectFinding(Look(), "focus", "told; now no window has it", "works");
}

TEST_F(InASession, WithoutTheSessionBusTheRestWorks) {
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + folder_.Path("nowhere");
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    ExpectFinding(said, "bus", "is not there: ", "lacks", "dbus-user-session");
    ExpectFinding(said, "games", "nobody registers games", "lacks", "see the session bus");
}

TEST_F(InASession, ASessionBusThatHangsIsNotWaitedForForLong) {
    const SilentServer silent(folder_.Path("silent"));
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + folder_.Path("silent");
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    ExpectFinding(said, "bus", "the session bus does not answer", "lacks", "dbus-user-session");
}

TEST_F(InASession, WithoutGameModeOnlyReadersAreGames) {
    desktop_.Games().Kill();
    PrivateBus bus("QUORVEX_TEST_BUS");
    bus.Start();
    environment_["DBUS_SESSION_BUS_ADDRESS"] = std::getenv("QUORVEX_TEST_BUS");
    const Said said = Look();
    if (said.Finding("games", "GameMode is installed").isNull()) {
        ExpectFinding(said, "games", "nobody registers games", "lacks", "sudo apt install gamemode");
    } else {
        ExpectFinding(said, "games", "the first game that registers starts it", "works");
    }
}

TEST_F(InASession, WithoutTheSystemBusTheDisplayTellsOfStandby) {
    environment_["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + folder_.Path("nowhere");
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    ExpectFinding(said, "standby", "told by the display", "works");
}

TEST_F(InASession, WithoutADisplayNobodyTellsOfTheFocus) {
    environment_.erase("DISPLAY");
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    ExpectFinding(said, "focus", "no DISPLAY, SWAYSOCK or I3SOCK is set", "lacks", "graphical session");
    ExpectFinding(said, "screensaver", "org.mate.ScreenSaver", "works");
    ExpectFinding(said, "standby", "told by logind", "works");
}

TEST_F(InASession, ADisplayThatIsNotThereIsNamed) {
    environment_["DISPLAY"] = ":4711";
    const Said said = Look();
    EXPECT_EQ(said.status, 0) << said.output;
    ExpectFinding(said, "focus", "no window system tells (X display :4711: ", "lacks", "_NET_ACTIVE_WINDOW");
}

TEST_F(InASession, EachLibraryForTheDisplayThatIsMissingIsNamed) {
    const std::map<std::string, std::string> uses = {
        {"libxcb.so.1", "libxcb cannot be used: the X display is left alone"},
        {"libxcb-res.so.0", "libxcb-res cannot be used: which process has a window"},
        {"libxcb-screensaver.so.0", "libxcb-screensaver cannot be used: whether the X server has blanked"},
        {"libxcb-dpms.so.0", "libxcb-dpms cannot be used: whether the X server has powered"}};
    for (const auto& [library, words] : uses) {
        const TemporaryFolder broken;
        environment_["LD_LIBRARY_PATH"] = broken.Path("");
        broken.Write(library, "no library");
        ExpectFinding(Look(), "bus", words, "lacks", "sudo apt install libxcb1 libxcb-res0");
    }
}

class InAnotherCompositor : public Machine {};

TEST_F(InAnotherCompositor, WhatItTellsNobodyIsNamed) {
    const ModelCompositor compositor(folder_.Path("wayland"), 0);
    environment_["WAYLAND_DISPLAY"] = folder_.Path("wayland");
    const Said said = Look();
    ExpectFinding(said, "focus", "no DISPLAY, SWAYSOCK or I3SOCK is set", "lacks", "this compositor tells nobody");
    ExpectFinding(said, "screensaver", "this compositor offers no way", "lacks", "idle-delay 0");
}

class InASwaySession : public Machine {
protected:
    InASwaySession() {
        sway_.Start();
        for (const char* name : {"WAYLAND_DISPLAY", "SWAYSOCK"}) {
            environment_[name] = std::getenv(name);
        }
    }

    PrivateSway sway_;
};

TEST_F(InASwaySession, SwayTellsOfTheFocusAndTakesUseOfThePad) {
    const Program terminal({"foot", "sleep", "1000"}, sway_.ClientSetting());
    const auto has_window = [] {
        return OutputOf("swaymsg -t get_tree").find("\"app_id\": \"foot\"") != std::string::npos;
    };
    ASSERT_TRUE(WaitUntil(has_window));
    const Said said = Look();
    ExpectFinding(said, "focus", "told; now it is foot", "works");
    ExpectFinding(said, "screensaver", "the Wayland compositor", "works");
    ExpectFinding(said, "standby", "told by the display", "works");
}

}  // namespace
