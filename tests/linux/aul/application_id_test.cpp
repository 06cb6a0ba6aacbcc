#include "aul/application_id.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "../games/temporary_folder.h"
#include "heard.h"
#include "program.h"

namespace {

std::string Environment(const std::vector<std::string>& variables) {
    std::string text;
    for (const std::string& variable : variables) {
        text += variable + '\0';
    }
    return text;
}

TEST(AnApplicationsId, IsTheDesktopEntryThatTheProcessWasStartedFrom) {
    const std::string started = "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/org.example.Game.desktop";
    EXPECT_EQ(aul::IdFromEnvironment(Environment({"A=b", started, "GIO_LAUNCHED_DESKTOP_FILE_PID=42"}), 42),
              "org.example.Game.desktop");
}

TEST(AnApplicationsId, HasDashesForTheDirectoriesOfTheEntry) {
    const std::string started = "GIO_LAUNCHED_DESKTOP_FILE=/home/x/.local/share/applications/wine/Games/a b.desktop";
    EXPECT_EQ(aul::IdFromEnvironment(Environment({"GIO_LAUNCHED_DESKTOP_FILE_PID=7", started}), 7),
              "wine-Games-a b.desktop");
    EXPECT_EQ(aul::IdFromEnvironment(
                  Environment({"GIO_LAUNCHED_DESKTOP_FILE_PID=7", "GIO_LAUNCHED_DESKTOP_FILE=/tmp/x.desktop"}), 7),
              "x.desktop");
}

TEST(AnApplicationsId, IsNotThatOfTheProcessWhoseEnvironmentWasInherited) {
    const std::string started = "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/launcher.desktop";
    EXPECT_EQ(aul::IdFromEnvironment(Environment({started, "GIO_LAUNCHED_DESKTOP_FILE_PID=42"}), 43), "");
    EXPECT_EQ(aul::IdFromEnvironment(Environment({started}), 42), "");
    EXPECT_EQ(aul::IdFromEnvironment(Environment({"XGIO_LAUNCHED_DESKTOP_FILE_PID=42", started}), 42), "");
}

TEST(AnApplicationsId, SurvivesStrangeEnvironments) {
    for (const std::string& text :
         {std::string(), std::string("\0\0", 2), std::string("NOTHING"),
          std::string("GIO_LAUNCHED_DESKTOP_FILE_PID=42"),
          Environment({"GIO_LAUNCHED_DESKTOP_FILE_PID=42", "GIO_LAUNCHED_DESKTOP_FILE="}),
          Environment({"GIO_LAUNCHED_DESKTOP_FILE_PID=42", "GIO_LAUNCHED_DESKTOP_FILE=/x"}),
          Environment({"GIO_LAUNCHED_DESKTOP_FILE_PID=42", "GIO_LAUNCHED_DESKTOP_FILE=/x/applications/.desktop"})}) {
        EXPECT_EQ(aul::IdFromEnvironment(text, 42), "");
    }
}

struct Unit {
    const char* name;
    const char* id;
};

class AnApplicationsUnit : public testing::TestWithParam<Unit> {};

TEST_P(AnApplicationsUnit, NamesItsDesktopEntry) {
    const std::string path = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
    EXPECT_EQ(aul::IdFromControlGroups(path + GetParam().name + "\n"), GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(
    Units, AnApplicationsUnit,
    testing::Values(Unit{"app-gnome-org.example.Game-4711.scope", "org.example.Game.desktop"},
                    Unit{"app-org.example.Game-4711.scope", "org.example.Game.desktop"},
                    Unit{"app-gnome-my\\x2dgame\\x40home-4711.scope", "my-game@home.desktop"},
                    Unit{"app-flatpak-org.example.Game-4711.scope/sub/group", "org.example.Game.desktop"},
                    Unit{"app-org.example.Game@3f2a.service", "org.example.Game.desktop"},
                    Unit{"app-KDE-org.example.Game@3f2a.service", "org.example.Game.desktop"},
                    Unit{"app-org.example.Game.service", "org.example.Game.desktop"},
                    Unit{"app-gnome-x\\x2-4711.scope", "x\\x2.desktop"},
                    Unit{"app-gnome-x\\x00-4711.scope", "x\\x00.desktop"}, Unit{"app-4711.scope", ""},
                    Unit{"app-gnome--4711.scope", ""}, Unit{"app-.service", ""}, Unit{"app-", ""},
                    Unit{"vte-spawn-4711.scope", ""}, Unit{"app-gnome.slice", ""}, Unit{"", ""}));

TEST(AnApplicationsUnitName, IsTakenFromSystemdsHierarchyAlone) {
    EXPECT_EQ(aul::IdFromControlGroups("5:cpu:/app-a-1.scope\n1:name=systemd:/app-b-1.scope\n0::/\n"), "b.desktop");
    EXPECT_EQ(aul::IdFromControlGroups("nonsense\n:\n::\n0::/app-b-1.scope"), "b.desktop");
}

class AWindowsName : public testing::Test {
protected:
    AWindowsName() {
        data_.Write("applications/org.example.Game.desktop", "");
        data_.Write("applications/small.desktop", "");
        data_.Write("secret.desktop", "");
        setenv("XDG_DATA_DIRS", ("/nowhere:" + data_.Path("")).c_str(), 1);
    }
    ~AWindowsName() override { unsetenv("XDG_DATA_DIRS"); }

    TemporaryFolder data_;
};

TEST_F(AWindowsName, IsAnIdWhenThereIsADesktopEntryOfThatName) {
    EXPECT_EQ(aul::IdFromWindow("org.example.Game"), "org.example.Game.desktop");
    EXPECT_EQ(aul::IdFromWindow("Small"), "small.desktop");
    EXPECT_EQ(aul::IdFromWindow("org.example.Other"), "");
}

TEST_F(AWindowsName, MayBeTheClassThatADesktopEntryNames) {
    data_.Write("applications/b.desktop", "[Desktop Entry]\nStartupWMClass=other-class\n");
    data_.Write("applications/vendor/game.desktop", "[Desktop Entry]\nName=Game\nStartupWMClass=game-main\n");
    data_.Write("applications/zzz.desktop", "[Desktop Entry]\nStartupWMClass=game-main\n");
    data_.Write("applications/action.desktop", "[Desktop Action x]\nStartupWMClass=game-main\n");
    data_.Write("applications/not-an-entry", "[Desktop Entry]\nStartupWMClass=game-main\n");
    data_.Write("applications/broken.desktop", "StartupWMClass=game-main\n[Desktop");
    EXPECT_EQ(aul::IdFromWindow("game-main"), "vendor-game.desktop");
    EXPECT_EQ(aul::IdFromWindow("other-class"), "b.desktop");
    EXPECT_EQ(aul::IdFromWindow("Game-Main"), "");
}

TEST_F(AWindowsName, IsThatOfAnEntryBeforeItIsAClass) {
    data_.Write("applications/a.desktop", "[Desktop Entry]\nStartupWMClass=Small\n");
    EXPECT_EQ(aul::IdFromWindow("Small"), "small.desktop");
}

TEST_F(AWindowsName, IsNotLookedForInWhatMayMakeItWait) {
    ASSERT_EQ(mkfifo(data_.Path("applications/fifo.desktop").c_str(), 0600), 0);
    data_.Write("applications/long.desktop", "[Desktop Entry]\nStartupWMClass=game-main\n" + std::string(100000, '#'));
    EXPECT_EQ(aul::IdFromWindow("game-main"), "");
}

TEST_F(AWindowsName, DoesNotChooseADirectory) {
    EXPECT_EQ(aul::IdFromWindow("../secret"), "");
    EXPECT_EQ(aul::IdFromWindow(""), "");
}

TEST_F(AWindowsName, IsTakenWholeOrNotAtAll) {
    EXPECT_EQ(aul::IdFromWindow(std::string("\0", 1)), "");
    EXPECT_EQ(aul::IdFromWindow(std::string("org.example.Game.desktop\0x", 26)), "");
}

TEST(AProcess, WithoutADesktopEntryIsKnownByItsExecutable) {
    const Program sleeper({"sleep", "1000"});
    ASSERT_TRUE(WaitUntil([&] { return IdOf(sleeper.Id()) == "sleep"; }));
}

TEST(AProcess, StartedFromADesktopEntryIsKnownByIt) {
    const TemporaryFolder folder;
    const std::string script = "GIO_LAUNCHED_DESKTOP_FILE_PID=$$ exec sleep 1000";
    Program::Setting setting;
    setting.environment["GIO_LAUNCHED_DESKTOP_FILE"] = "/usr/share/applications/org.example.Game.desktop";
    const Program game({"/bin/sh", "-c", script}, setting);
    EXPECT_TRUE(WaitUntil([&] { return IdOf(game.Id()) == "org.example.Game.desktop"; }));
}

TEST(AProcess, ThatReplacedItsFileKeepsItsName) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("game");
    std::filesystem::copy_file("/bin/sleep", file);
    const Program game({file, "1000"});
    ASSERT_TRUE(WaitUntil([&] { return IdOf(game.Id()) == "game"; }));
    std::filesystem::remove(file);
    EXPECT_EQ(IdOf(game.Id()), "game");
}

TEST(AProcess, ThatIsNotThereHasNoId) {
    auto gone = std::make_unique<Program>(std::vector<std::string>{"true"});
    const pid_t pid = gone->Id();
    gone->Kill();
    for (const int none : {pid, 0, -1}) {
        EXPECT_EQ(IdOf(none), "");
    }
}

TEST(AnId, IsGivenWholeOrNotAtAll) {
    const Program sleeper({"sleep", "1000"});
    ASSERT_TRUE(WaitUntil([&] { return IdOf(sleeper.Id()) == "sleep"; }));
    char id[6];
    EXPECT_EQ(aul_app_get_appid_bypid(sleeper.Id(), id, 6), 0);
    EXPECT_STREQ(id, "sleep");
    std::memset(id, 'x', sizeof id);
    EXPECT_EQ(aul_app_get_appid_bypid(sleeper.Id(), id, 5), -1);
    EXPECT_EQ(std::string(id, 6), std::string("\0xxxxx", 6));
    EXPECT_EQ(aul_app_get_appid_bypid(sleeper.Id(), id, 0), -1);
    EXPECT_EQ(aul_app_get_appid_bypid(sleeper.Id(), nullptr, 256), -1);
}

TEST(AStatus, WithoutAnyFocusIsNeverFocused) {
    const Program sleeper({"sleep", "1000"});
    ASSERT_TRUE(WaitUntil([&] { return IdOf(sleeper.Id()) == "sleep"; }));
    EXPECT_EQ(aul_app_get_status("sleep"), 0);
    EXPECT_EQ(aul_app_get_status("x.desktop"), -1);
}

TEST(IdsAndStatuses, MayBeAskedForByAllThreadsAtOnce) {
    Heard heard;
    heard.Listen();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                const std::string id = IdOf(getpid());
                EXPECT_EQ(id, "linux_aul");
                EXPECT_NE(aul_app_get_status(id.c_str()), kFocused);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
