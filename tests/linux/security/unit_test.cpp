#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "program.h"
#include "virtual_key/uinput_keyboard.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string TextOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// The unit as it is shipped, but with the program that was built.
class TheUnit : public testing::Test {
protected:
    TheUnit() {
        char name[] = "/tmp/quorvex-unit-XXXXXX";
        folder_ = mkdtemp(name);
        std::string text = TextOf(PACKAGING "/quorvex.service");
        text = std::regex_replace(text, std::regex("ExecStart=.*"), "ExecStart=" QUORVEX_PROGRAM);
        text = std::regex_replace(text, std::regex("Documentation=.*\n"), "");  // the manual may not be installed
        std::ofstream(folder_ + "/quorvex.service") << text;
    }
    ~TheUnit() override { fs::remove_all(folder_); }

    std::string Analyze(const std::string& words) const {
        return OutputOf("XDG_RUNTIME_DIR=" + folder_ + " systemd-analyze --user " + words + " " + folder_ +
                        "/quorvex.service 2>&1; echo status $?");
    }

    std::string folder_;
};

TEST_F(TheUnit, IsUnderstoodToTheLastLine) {
    EXPECT_EQ(Analyze("verify"), "status 0");
}

// The threshold is in tenths.
TEST_F(TheUnit, ExposesNoMoreThanTheDocumentsSay) {
    EXPECT_THAT(Analyze("security --offline=true --no-pager --threshold=61"), HasSubstr("status 0"));
}

// A user's manager has no capabilities to drop: it would end the service before it began, with status 218.
TEST_F(TheUnit, AsksForNothingThatDropsCapabilities) {
    const std::string text = TextOf(folder_ + "/quorvex.service");
    for (const char* option : {"CapabilityBoundingSet=", "ProtectClock=yes", "ProtectKernelLogs=yes",
                               "ProtectKernelModules=yes", "PrivateDevices=yes"}) {
        EXPECT_THAT(text, testing::Not(HasSubstr(std::string("\n") + option))) << option;
    }
}

TEST(TheRule, IsTheOneThatTheMessageNames) {
    const std::string message = WhyUinputCannotBeOpened("/dev/uinput", EACCES);
    const std::string rule = message.substr(message.find("SUBSYSTEM"));
    EXPECT_THAT(TextOf(PACKAGING "/71-quorvex.rules"), HasSubstr(rule + "\n"));
}

}  // namespace
