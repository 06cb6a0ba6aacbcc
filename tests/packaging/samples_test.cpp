#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "manual.h"
#include "service.h"
#include "system_info/product_conf.h"
#include "virtual_key/key_map.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::IsEmpty;

const fs::path kSamples = TREE "/packaging/examples";

/// A home with the samples in their places.
class Samples : public testing::Test {
protected:
    Samples() {
        char name[] = "/tmp/quorvex-samples-XXXXXX";
        home_ = mkdtemp(name);
        const fs::path config = home_ / ".config/quorvex";
        fs::create_directories(config / "accessory");
        fs::copy(kSamples / "app_config.json", config / "accessory");
        for (const char* file : {"keymap", "product.conf", "ignored-readers"}) {
            fs::copy(kSamples / file, config);
        }
    }
    ~Samples() override { fs::remove_all(home_); }

    ServiceOptions Options() const {
        return {
            {"HOME=" + home_.string(), "XDG_RUNTIME_DIR=" + home_.string(), "QUORVEX_KEYS=print", "QUORVEX_LOG=info"},
            0,
            {}};
    }

    fs::path home_;
};

TEST_F(Samples, AreUnderstoodByTheService) {
    Service service(Options());
    EXPECT_TRUE(service.Prints("global_config list[0]'s [4, Kodi, 75]")) << service.Tail();
    EXPECT_TRUE(service.Prints("global_config list[1]'s [5, RetroArch, 76]"));
    EXPECT_TRUE(service.Prints("[Initialize]exit")) << service.Tail();
    service.Terminate();
    EXPECT_EQ(service.ExitStatus(), 0);
    EXPECT_NE(service.Line("keymap: keys that are sent as others: 3"), "");
    for (const char* complaint : {"left out", "product.conf", "ignored-readers", "Exception["}) {
        EXPECT_EQ(service.Line(complaint), "");
    }
}

TEST_F(Samples, SayWhatTheProductIs) {
    setenv("XDG_CONFIG_HOME", (home_ / ".config").c_str(), 1);
    EXPECT_EQ(ProductFlag("smart-monitor"), true);
    EXPECT_EQ(ProductNumber("local-set"), 0);
    unsetenv("XDG_CONFIG_HOME");
}

TEST_F(Samples, SayWhatTheManualSays) {
    EXPECT_THAT(LiteralBlocks("quorvex-app-config.5"), Contains(TextOf(kSamples / "app_config.json")));
    EXPECT_THAT(LiteralBlocks("quorvex-settings.5"), Contains(TextOf(kSamples / "keymap")));
}

TEST(TheSampleKeyMap, HasNoWrongLine) {
    std::vector<std::string> complaints;
    const KeyTable table = ReadKeyTable(TextOf(kSamples / "keymap"), complaints);
    EXPECT_THAT(complaints, IsEmpty());
    EXPECT_EQ(table.size(), 3U);
}

/// The words between "build=(" and ")".
std::set<std::string> PackagesToBuildWith() {
    const std::string text = TextOf(TREE "/scripts/packages");
    const size_t begin = text.find("build=(") + 7;
    std::istringstream words(text.substr(begin, text.find(')', begin) - begin));
    return {std::istream_iterator<std::string>(words), {}};
}

TEST(TheSourcePackage, NeedsWhatTheBuildNeeds) {
    std::set<std::string> packages = PackagesToBuildWith();
    ASSERT_GT(packages.size(), 10U);
    packages.erase("g++");  // these two are there wherever packages are built
    packages.erase("binutils");
    const std::string control = TextOf(TREE "/packaging/debian/control");
    for (const std::string& package : packages) {
        EXPECT_TRUE(std::regex_search(control, std::regex("\n " + package + "( \\(.*\\))?,\n"))) << package;
    }
}

TEST(TheChangelog, IsOfThisVersion) {
    EXPECT_EQ(TextOf(TREE "/packaging/debian/changelog").rfind("quorvex (" PROJECT_VERSION ") ", 0), 0U);
}

}  // namespace
