// The program while the components around it go and come back.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "desktop.h"
#include "private_sway.h"
#include "silent_server.h"
#include "whole_program.h"

namespace {

class InASession : public WholeProgram {
protected:
    /// Such messages have come after those that were waited for before.
    void ExpectInAnyOrder(const std::vector<std::string>& texts) {
        size_t last = seen_;
        for (const std::string& text : texts) {
            ASSERT_TRUE(Running().Prints(text, seen_)) << text << '\n' << Running().Tail();
            for (size_t at = seen_; !Running().Line(text, at).empty();) {
                last = std::max(last, ++at);
            }
        }
        seen_ = last;
    }
    void ExpectNext(const std::string& text) { ExpectInAnyOrder({text}); }
    void Use(const char* variable) { environment_[variable] = std::getenv(variable); }
    void StartWithPad() {
        Plug();
        Start();
    }

private:
    size_t seen_ = 0;
};

TEST_F(InASession, ABusThatComesGoesAndComesBackIsToldOfOnceEach) {
    PrivateBus bus;
    Use("DBUS_SESSION_BUS_ADDRESS");
    StartWithPad();
    for (int i = 0; i < 2 && !HasFailure(); ++i) {
        ExpectNext("session bus: not there");
        ExpectKeys();
        bus.Start();
        ExpectNext("session bus: there");
        ExpectKeys();
        bus.Kill();
    }
    ExpectNext("session bus: not there");
    ExpectGoodEndAfter({"no DISPLAY", "system bus: not there", "session bus: not there", "session bus: there",
                        "session bus: not there", "session bus: there", "session bus: not there"});
}

TEST_F(InASession, ADisplayThatComesGoesAndComesBackIsToldOfOnceEach) {
    PrivateXServer server;
    Use("DISPLAY");
    StartWithPad();
    for (int i = 0; i < 2 && !HasFailure(); ++i) {
        ExpectNext("X display " + environment_["DISPLAY"] + ": not there");
        ExpectKeys();
        server.Start();
        ExpectNext("X display " + environment_["DISPLAY"] + ": there");
        ExpectKeys();
        server.Kill();
    }
    const std::string display = "X display " + environment_["DISPLAY"];
    ExpectNext(display + ": not there");
    ExpectGoodEndAfter({"session bus: not there", "system bus: not there", display + ": not there", display + ": there",
                        display + ": not there", display + ": there", display + ": not there"});
}

TEST_F(InASession, ASwayThatComesGoesAndComesBackIsToldOfOnceEach) {
    PrivateSway sway;
    Use("SWAYSOCK");
    Use("WAYLAND_DISPLAY");
    const std::string socket = environment_["SWAYSOCK"];
    StartWithPad();
    for (int i = 0; i < 2 && !HasFailure(); ++i) {
        ExpectInAnyOrder({"sway at " + socket + ": not there", "Wayland compositor: not there"});
        ExpectKeys();
        sway.Start();
        ExpectInAnyOrder({"sway at " + socket + ": there", "Wayland compositor: there"});
        ExpectKeys();
        sway.Kill();
    }
    ExpectInAnyOrder({"sway at " + socket + ": not there", "Wayland compositor: not there"});
    ExpectGoodEndAfter({"session bus: not there", "system bus: not there", "sway at ", "sway at ", "sway at ",
                        "sway at ", "sway at ", "Wayland compositor: not there", "Wayland compositor: there",
                        "Wayland compositor: not there", "Wayland compositor: there", "Wayland compositor: not there"});
}

TEST_F(InASession, ABusThatHungAndIsReplacedIsUsed) {
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + folder_.Path("bus");
    auto hung = std::make_unique<SilentServer>(folder_.Path("bus"));
    StartWithPad();
    ExpectKeys();
    hung.reset();
    ExpectNext("session bus: not there");
    const Program daemon({"dbus-daemon", "--session", "--nofork", "--nosyslog", "--nopidfile",
                          "--address=unix:path=" + folder_.Path("bus")});
    ExpectNext("session bus: there");
    ExpectKeys();
    ExpectGoodEndAfter({"no DISPLAY", "system bus: not there", "session bus: not there", "session bus: there"});
}

TEST_F(InASession, AServerThatHangsAndGoesOnIsUsed) {
    PrivateXServer server;
    server.Start();
    server.Stop();
    Use("DISPLAY");
    StartWithPad();
    ExpectKeys();
    server.Continue();
    const WindowManager manager;
    const Window window;
    ExpectNext("Process[" + std::to_string(window.Pid()) + "]'s status change to: AUL_PROC_STATUS_FOCUS");
    ExpectKeys();
    server.Stop();
    ExpectKeys();
    server.Continue();
    ExpectGoodEndAfter({"session bus: not there", "system bus: not there"});
}

}  // namespace
