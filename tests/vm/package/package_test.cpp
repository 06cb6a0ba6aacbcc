// The life of the package on a machine: it comes, is replaced by the next version, and goes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "home_machine.h"
#include "key_reader.h"
#include "uinput_pad.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

constexpr const char* kEasyWakeup = "db/menu/connection/easy-wakeup";

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

const std::string& ThisVersion() {
    static const std::string file = Variable("QUORVEX_PACKAGE");
    return file;
}

const std::string& NextVersion() {
    static const std::string file = Variable("QUORVEX_NEXT_PACKAGE");
    return file;
}

std::string VersionOf(const std::string& packageFile) {
    std::string version = RunAsRoot("dpkg-deb --field " + packageFile + " Version").output;
    version.erase(version.find_last_not_of('\n') + 1);
    return version;
}

/// The first press after a pad was plugged in may come before the service has opened it.
bool KeysArrive(UinputPad& pad) {
    KeyReader keys;
    return keys.Found() && Until([&] {
               pad.Press(BTN_SOUTH);
               pad.Release(BTN_SOUTH);
               return keys.Read(2, milliseconds(500)) == PressedAndReleased(KEY_ENTER);
           });
}

bool ViewerMayMakeKeys() {
    return RunAsViewer("test -w /dev/uinput").status == 0;
}

std::string StatusOfService() {
    return RunAsRoot("cat /proc/" + std::to_string(ServiceProcess()) + "/status").output;
}

std::string Journal() {
    return RunAsRoot("journalctl --no-pager --lines=60").output;
}

/// Each test brings the machine into the state that it needs; in the order below that costs nothing.
class ThePackage : public testing::Test {
protected:
    static void SetUpTestSuite() { fresh_ = new std::set<std::string>(AllFiles()); }

    static void Need(const std::string& packageFile) {
        if (InstalledVersion() != VersionOf(packageFile)) {
            Purge();
            Install(packageFile);
        }
    }

    static void NeedNone() {
        if (!InstalledVersion().empty()) {
            Purge();
        }
    }

    static std::set<std::string>* fresh_;  // the files before anything was installed
};
std::set<std::string>* ThePackage::fresh_ = nullptr;

TEST_F(ThePackage, InstalledDuringASessionWorksAtOnce) {
    NeedNone();
    LogIn();
    ASSERT_FALSE(ViewerMayMakeKeys());
    Install(ThisVersion());
    EXPECT_TRUE(ViewerMayMakeKeys());
    EXPECT_TRUE(Until([] { return ServiceProcess() != 0; })) << Journal();
    UinputPad pad(CommonPad());
    EXPECT_TRUE(KeysArrive(pad)) << Journal();
}

TEST_F(ThePackage, ShutsTheServiceIn) {
    Need(ThisVersion());
    LogIn();
    const std::string status = StatusOfService();
    EXPECT_THAT(status, HasSubstr("NoNewPrivs:\t1\n"));
    EXPECT_THAT(status, HasSubstr("Seccomp:\t2\n"));
    EXPECT_THAT(status, HasSubstr("CapEff:\t0000000000000000\n"));
}

TEST_F(ThePackage, ReplacedByTheNextKeepsSettingsAndRestartsTheService) {
    Need(ThisVersion());
    LogIn();
    ASSERT_EQ(RunAsViewer(std::string("quorvex-settings set ") + kEasyWakeup + " 1").status, 0);
    const pid_t before = ServiceProcess();
    Install(NextVersion());
    EXPECT_EQ(InstalledVersion(), VersionOf(NextVersion()));
    EXPECT_TRUE(Until([&] { return ServiceProcess() != 0 && ServiceProcess() != before; })) << Journal();
    EXPECT_EQ(RunAsViewer(std::string("quorvex-settings get ") + kEasyWakeup).output, "1\n");
    UinputPad pad(CommonPad());
    EXPECT_TRUE(KeysArrive(pad)) << Journal();
}

TEST_F(ThePackage, StartsTheServiceWithEachSession) {
    Need(NextVersion());
    LogOut();
    EXPECT_EQ(ServiceProcess(), 0);
    // As after a start of the machine: the module is loaded by the first who opens the device.
    EXPECT_EQ(RunAsRoot("rmmod uinput && systemctl restart systemd-tmpfiles-setup-dev systemd-udevd").output, "");
    LogIn();
    EXPECT_TRUE(Until([] { return ServiceProcess() != 0; })) << Journal();
    UinputPad pad(CommonPad());
    EXPECT_TRUE(KeysArrive(pad)) << Journal();
}

TEST_F(ThePackage, LeavesLoginScreensAlone) {
    Need(NextVersion());
    const std::string manager = "systemctl --user --machine=games@.host ";
    ASSERT_EQ(RunAsRoot("systemctl start user@$(id -u games).service").output, "");
    EXPECT_EQ(RunAsRoot(manager + "start quorvex.service").output, "");
    EXPECT_EQ(RunAsRoot(manager + "show --property=ConditionResult --value quorvex.service").output, "no\n");
    EXPECT_EQ(RunAsRoot(manager + "is-active quorvex.service").output, "inactive\n");
    RunAsRoot("systemctl stop user@$(id -u games).service");
}

TEST_F(ThePackage, LeavesAUserAloneWhoDoesWithoutTheService) {
    Need(NextVersion());
    LogIn();
    ASSERT_EQ(RunAsViewer("systemctl --user mask --now quorvex.service").status, 0);
    Reinstall(NextVersion());
    EXPECT_EQ(ServiceProcess(), 0);
    EXPECT_EQ(RunAsViewer("systemctl --user unmask quorvex.service").status, 0);
}

TEST_F(ThePackage, LeavesNothingBehind) {
    Need(NextVersion());
    LogIn();
    ASSERT_THAT(AllFiles(), IsSupersetOf({"/usr/bin/quorvex",
                                          "/etc/systemd/user/graphical-session.target.wants"
                                          "/quorvex.service"}));
    Purge();
    EXPECT_TRUE(Until([] { return ServiceProcess() == 0; }));
    EXPECT_THAT(RunAsViewer("systemctl --user is-active quorvex.service").output, HasSubstr("inactive"));
    EXPECT_FALSE(ViewerMayMakeKeys());
    std::set<std::string> more;
    const std::set<std::string> files = AllFiles();
    std::set_difference(files.begin(), files.end(), fresh_->begin(), fresh_->end(), std::inserter(more, more.end()));
    EXPECT_THAT(more, IsEmpty());
}

}  // namespace
