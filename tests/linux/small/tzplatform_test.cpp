#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "child_process.h"
#include "platform/tzplatform_config.h"
#include "tzplatform/base_directory.h"

namespace {

// Both directories, a line each, as a process with these variables sees them.
std::string DirectoriesWith(const Environment& environment) {
    const ChildOutput output =
        RunInChild(environment, [] { std::printf("%s\n%s\n", tzplatform_getenv(27), tzplatform_getenv(77)); });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "");
    return output.out;
}

std::string PasswordHome() {
    return getpwuid(getuid())->pw_dir;
}

TEST(TheDirectories, AreBelowTheVariablesOfTheUser) {
    EXPECT_EQ(DirectoriesWith({{"XDG_DATA_HOME", "/data"}, {"XDG_CONFIG_HOME", "/config"}, {"HOME", "/home/x"}}),
              "/data/quorvex/apps\n/config/quorvex\n");
}

TEST(TheDirectories, AreBelowTheHomeDirectoryWithoutThem) {
    EXPECT_EQ(DirectoriesWith({{"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", ""}, {"HOME", "/home/x"}}),
              "/home/x/.local/share/quorvex/apps\n/home/x/.config/quorvex\n");
}

TEST(TheDirectories, DoNotFollowRelativeVariables) {
    EXPECT_EQ(DirectoriesWith({{"XDG_DATA_HOME", "data"}, {"XDG_CONFIG_HOME", "./config"}, {"HOME", "/home/x"}}),
              "/home/x/.local/share/quorvex/apps\n/home/x/.config/quorvex\n");
}

TEST(TheDirectories, AreThoseOfThePasswordEntryWithoutAHome) {
    for (const char* home : {"", "relative"}) {
        EXPECT_EQ(DirectoriesWith({{"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", ""}, {"HOME", home}}),
                  PasswordHome() + "/.local/share/quorvex/apps\n" + PasswordHome() + "/.config/quorvex\n");
    }
}

TEST(TheDirectories, OfARootWithoutAHomeHaveOneSlash) {
    EXPECT_EQ(DirectoriesWith({{"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", ""}, {"HOME", "/"}}),
              "/.local/share/quorvex/apps\n/.config/quorvex\n");
}

TEST(TheDirectories, StayWhereTheyAreInMemoryAndText) {
    const ChildOutput output = RunInChild({{"XDG_DATA_HOME", "/data"}}, [] {
        const char* first = tzplatform_getenv(27);
        setenv("XDG_DATA_HOME", "/elsewhere", 1);
        EXPECT_EQ(tzplatform_getenv(27), first);
        EXPECT_STREQ(first, "/data/quorvex/apps");
    });
    EXPECT_EQ(output.status, 0) << output.out;
}

TEST(TheDirectories, MayBeAskedForByAllThreadsAtOnce) {
    const ChildOutput output = RunInChild({{"XDG_CONFIG_HOME", "/config"}}, [] {
        std::vector<const char*> answers(8);
        RunThreads(8, [&](int thread) { answers[static_cast<size_t>(thread)] = tzplatform_getenv(77); });
        EXPECT_EQ(answers, std::vector<const char*>(8, tzplatform_getenv(77)));
    });
    EXPECT_EQ(output.status, 0) << output.out;
}

TEST(AnUnknownDirectory, IsAnEmptyTextWithAMessage) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [] {
        EXPECT_STREQ(tzplatform_getenv(28), "");
        EXPECT_STREQ(tzplatform_getenv(-1), "");
    });
    EXPECT_EQ(output.status, 0) << output.out;
    EXPECT_EQ(output.err,
              "error QVXD: tzplatform_getenv: there is no directory 28\n"
              "error QVXD: tzplatform_getenv: there is no directory -1\n");
}

TEST(ABaseDirectory, NeedsAnAbsoluteVariable) {
    setenv("QUORVEX_TEST_DIRECTORY", "/x", 1);
    EXPECT_EQ(BaseDirectory("QUORVEX_TEST_DIRECTORY", ".x"), "/x");
    setenv("QUORVEX_TEST_DIRECTORY", "x", 1);
    EXPECT_EQ(BaseDirectory("QUORVEX_TEST_DIRECTORY", ".x"), HomeDirectory() + "/.x");
    unsetenv("QUORVEX_TEST_DIRECTORY");
    EXPECT_EQ(BaseDirectory("QUORVEX_TEST_DIRECTORY", ".x"), HomeDirectory() + "/.x");
}

}  // namespace
