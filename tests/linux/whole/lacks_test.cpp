// The program where something is missing, or there and without an answer.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "desktop.h"
#include "silent_server.h"
#include "whole_program.h"

namespace {

TEST_F(WholeProgram, DoesItsWorkWithEverythingMissingAndSaysSo) {
    environment_.erase("XDG_RUNTIME_DIR");
    environment_["HOME"] = folder_.Path("");
    Plug();
    Start(kOrdinaryUser);
    ExpectKeys();
    ExpectGoodEndAfter({"session bus: not there", "system bus: not there", "XDG_RUNTIME_DIR is not set",
                        "no DISPLAY, SWAYSOCK or I3SOCK is set"});
}

TEST_F(WholeProgram, DoesItsWorkWhereItMayWriteNothing) {
    environment_["HOME"] = folder_.Path("");
    environment_["XDG_RUNTIME_DIR"] = folder_.Path("");
    Plug();
    Start(kOrdinaryUser);
    ExpectKeys();
    // Whether the use is published now or half a minute later depends on who comes first, the pad or the monitor.
    const std::string settings = folder_.Path("") + "/quorvex/memory/";
    ExpectGoodEndAfter(
        {"session bus: not there", "system bus: not there",
         settings + "window_system/screensaver_on_off: cannot write: ", "no DISPLAY, SWAYSOCK or I3SOCK is set"},
        settings + "accessory/gamepad_active: cannot write: ");
}

int InotifyInstances(pid_t process) {
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        std::error_code gone;
        count += std::filesystem::read_symlink(file, gone) == "anon_inode:inotify" ? 1 : 0;
    }
    return count;
}

// A user may have 128, for all programs together. The settings take one, pads another where no udevd runs, and all
// other notices the third.
TEST_F(WholeProgram, TakesThreeInotifyInstancesAtMostHoweverMuchItWaitsFor) {
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + folder_.Path("bus");
    environment_["DISPLAY"] = ":4711";
    environment_["WAYLAND_DISPLAY"] = folder_.Path("wayland");
    environment_["SWAYSOCK"] = folder_.Path("sway");
    Plug();
    Start();
    ExpectKeys();
    EXPECT_LE(InotifyInstances(Running().Pid()), 3);
}

/// One thing of the session is another than it should be.
struct Lack {
    std::string name;
    /// Changes what the program finds; what it returns stays until the end.
    std::function<std::shared_ptr<void>(Environment&, Desktop&, const std::string& folder)> make;
    std::vector<std::string> told;
    bool has_session_bus = true;
};

void PrintTo(const Lack& lack, std::ostream* output) {
    *output << lack.name;
}

std::shared_ptr<void> Set(Environment& environment, const char* name, const std::string& value) {
    environment[name] = value;
    return nullptr;
}

std::shared_ptr<void> InsideSway(Environment& environment, const std::string& folder) {
    environment.erase("DISPLAY");
    environment["WAYLAND_DISPLAY"] = folder + "/wayland";
    environment["SWAYSOCK"] = folder + "/sway";
    return nullptr;
}

const std::vector<Lack> kLacks = {
    {"Nothing", [](auto&, auto&, auto&) { return nullptr; }, {}},
    {"TheSessionBus",
     [](auto& all, auto&, auto& folder) { return Set(all, "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder + "/no"); },
     {"session bus: not there"},
     /*has_session_bus=*/false},
    {"EverybodyOnTheSessionBus",
     [](auto& all, auto&, auto&) {
         auto bus = std::make_shared<PrivateBus>("QUORVEX_TEST_BUS");
         bus->Start();
         Set(all, "DBUS_SESSION_BUS_ADDRESS", std::getenv("QUORVEX_TEST_BUS"));
         return bus;
     },
     {},
     /*has_session_bus=*/false},
    {"AnAnswerOfTheSessionBus",
     [](auto& all, auto&, auto& folder) {
         Set(all, "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder + "/silent");
         return std::make_shared<SilentServer>(folder + "/silent");
     },
     {},
     /*has_session_bus=*/false},
    {"TheSystemBus",
     [](auto& all, auto&, auto& folder) { return Set(all, "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder + "/no"); },
     {"system bus: not there"}},
    {"AnAnswerOfTheSystemBus",
     [](auto& all, auto&, auto& folder) {
         Set(all, "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder + "/silent");
         return std::make_shared<SilentServer>(folder + "/silent");
     },
     {}},
    {"ADisplay",
     [](auto& all, auto&, auto&) {
         all.erase("DISPLAY");
         return nullptr;
     },
     {"no DISPLAY, SWAYSOCK or I3SOCK is set"}},
    {"TheXServer",
     [](auto& all, auto&, auto&) { return Set(all, "DISPLAY", ":29999"); },
     {"X display :29999: not there"}},
    {"AnAnswerOfTheXServer",
     [](auto&, auto& desktop, auto&) {
         desktop.Server().Stop();
         return std::shared_ptr<void>(&desktop, [](Desktop* stopped) { stopped->Server().Continue(); });
     },
     {}},
    {"Sway",
     [](auto& all, auto&, auto& folder) { return InsideSway(all, folder); },
     {"sway at ", "Wayland compositor: not there"}},
    {"AnAnswerOfSway",
     [](auto& all, auto&, auto& folder) {
         InsideSway(all, folder);
         using Both = std::pair<SilentServer, SilentServer>;
         return std::make_shared<Both>(std::piecewise_construct, std::forward_as_tuple(folder + "/sway"),
                                       std::forward_as_tuple(folder + "/wayland"));
     },
     {}},
    {"TheRuntimeDirectory",
     [](auto& all, auto&, auto&) {
         all.erase("XDG_RUNTIME_DIR");
         return nullptr;
     },
     {"XDG_RUNTIME_DIR is not set"}},
    {"AHome", [](auto& all, auto&, auto&) { return Set(all, "HOME", "/nonexistent"); }, {}},
};

std::string NameOf(const testing::TestParamInfo<Lack>& info) {
    return info.param.name;
}

class WithoutOne : public WholeProgram, public testing::WithParamInterface<Lack> {
protected:
    static void SetUpTestSuite() { desktop_ = std::make_unique<Desktop>(); }
    static void TearDownTestSuite() { desktop_.reset(); }

    static inline std::unique_ptr<Desktop> desktop_;
};

TEST_P(WithoutOne, TheProgramDoesItsWorkAndSaysSo) {
    for (const auto& [name, value] : desktop_->Variables()) {
        environment_[name] = value;
    }
    const std::shared_ptr<void> lack = GetParam().make(environment_, *desktop_, folder_.Path(""));
    Plug();
    Start();
    ExpectKeys();
    std::vector<std::string> told = GetParam().told;
    if (GetParam().has_session_bus) {
        told.emplace_back("GameMode: there");
    }
    ExpectGoodEndAfter(told);
}

INSTANTIATE_TEST_SUITE_P(Lack, WithoutOne, testing::ValuesIn(kLacks), NameOf);

/// Settings are kept where the machine takes nothing more.
class OnADevice : public WholeProgram {
protected:
    void StartOn(const std::string& options, const std::string& fill) {
        Plug();
        StartAfter("mount -t tmpfs -o size=16k tmpfs " + Runtime() + fill + "; mount -o remount," + options + " " +
                   Runtime());
        ExpectKeys();
    }
    std::string Runtime() const { return folder_.Path("run"); }
    std::string StateFile() const { return Runtime() + "/quorvex/memory/window_system/screensaver_on_off"; }
    void ExpectTold(const std::string& why) {
        EXPECT_TRUE(Running().Prints(StateFile() + ": cannot write: ")) << Running().Tail();
        EXPECT_NE(Running().Line("cannot write").find(why), std::string::npos) << Running().Line("cannot write");
        ExpectGoodEndAfter(
            {"session bus: not there", "system bus: not there", "no DISPLAY, SWAYSOCK or I3SOCK is set", StateFile()});
    }
};

TEST_F(OnADevice, ThatIsReadOnlyTheProgramDoesItsWorkAndSaysSo) {
    StartOn("ro", "");
    ExpectTold("Read-only file system");
}

TEST_F(OnADevice, ThatIsFullTheProgramDoesItsWorkAndSaysSo) {
    StartOn("rw", "; dd if=/dev/zero of=" + Runtime() + "/filler bs=1k status=none || true");
    ExpectTold("No space left on device");
}

}  // namespace
