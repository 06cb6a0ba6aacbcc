// Who includes whom, and that nothing of the service is compiled differently for one platform.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "source_tree.h"

namespace {

namespace fs = std::filesystem;
using testing::Not;

constexpr char kGlibHeader[] = "glib.h";
constexpr char kJsonHeader[] = "json/json.h";

/// C++ headers have no ending; these are the C and POSIX ones that the service may use.
const std::set<std::string> kSystemHeaders = {"pthread.h",  "semaphore.h", "signal.h",    "unistd.h",
                                              "sys/stat.h", "sys/time.h",  "sys/prctl.h", "sys/syscall.h",
                                              "errno.h",    "sys/types.h", "fcntl.h",     "time.h"};

bool Exists(const fs::path& path) {
    return fs::is_regular_file(path);
}

/// Where a quoted include leads, among these folders of the tree; empty when nowhere.
std::string Resolved(const Include& include, const std::vector<std::string>& folders) {
    std::vector<std::string> places = folders;
    places.insert(places.begin(), fs::path(include.line.file).parent_path());
    for (const std::string& place : places) {
        const fs::path path = (fs::path(place) / include.header).lexically_normal();
        if (Exists(InTree(path))) {
            return path;
        }
    }
    return "";
}

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.rfind(beginning, 0) == 0;
}

bool IsOfTheService(const std::string& path) {
    const auto folders = {"Main/", "Common/", "EventHandler/", "ContextManager/"};
    return std::any_of(folders.begin(), folders.end(), [&](const char* folder) { return BeginsWith(path, folder); });
}

TEST(TheService, IsThere) {
    EXPECT_THAT(ServiceFiles(), testing::Contains("Main/main.cpp"));
    EXPECT_GT(ServiceFiles().size(), 20U);
}

TEST(TheService, IncludesNothingOfAPlatformImplementation) {
    const std::vector<std::string> folders = {"Main", "Common/include", "EventHandler/src", "ContextManager/src",
                                              "Platform/include"};
    for (const std::string& file : ServiceFiles()) {
        for (const Include& include : IncludesOf(file)) {
            if (include.quoted) {
                const std::string target = Resolved(include, folders);
                EXPECT_TRUE(IsOfTheService(target) || BeginsWith(target, "Platform/include/platform/"))
                    << include.line.Text();
            }
        }
    }
}

TEST(TheService, IncludesOnlySystemHeadersGlibAndTheJsonReader) {
    for (const std::string& file : ServiceFiles()) {
        for (const Include& include : IncludesOf(file)) {
            const bool isOfCxx = include.header.find('.') == std::string::npos;
            EXPECT_TRUE(include.quoted || isOfCxx || kSystemHeaders.count(include.header) != 0 ||
                        include.header == kGlibHeader || include.header == kJsonHeader)
                << include.line.Text();
        }
    }
}

TEST(TheService, KnowsTheMainLoopOnlyInMainAndTheDispatcher) {
    for (const std::string& file : ServiceFiles()) {
        for (const Include& include : IncludesOf(file)) {
            EXPECT_TRUE(include.header != kGlibHeader || BeginsWith(file, "Main/") ||
                        BeginsWith(file, "EventHandler/src/GamepadEventDispatcher."))
                << include.line.Text();
        }
    }
}

TEST(TheService, KnowsTheJsonReaderOnlyInTheAppLauncher) {
    for (const std::string& file : ServiceFiles()) {
        for (const Include& include : IncludesOf(file)) {
            EXPECT_TRUE(include.header != kJsonHeader || BeginsWith(file, "EventHandler/src/AppLauncher."))
                << include.line.Text();
        }
    }
}

// A condition may guard a header or tell compilers apart, nothing else.
TEST(TheService, IsTheSameForEveryPlatform) {
    const std::regex conditional(R"(^\s*#\s*(if|ifdef|ifndef|elif)\b\s*(.*))");
    const std::regex allowed(R"(([A-Z0-9_]+_H)|(defined\(__clang__\)))");
    for (const std::string& file : ServiceFiles()) {
        for (const Line& line : LinesOf(file)) {
            std::smatch match;
            if (std::regex_match(line.text, match, conditional)) {
                EXPECT_TRUE(std::regex_match(match[2].str(), allowed)) << line.Text();
            }
        }
    }
}

TEST(TheService, NamesNoPlatform) {
    const std::regex platform(R"(__linux__|\bQUORVEX_|__ANDROID__|_WIN32|__APPLE__|__FreeBSD__|__has_include)");
    for (const std::string& file : ServiceFiles()) {
        for (const Line& line : LinesOf(file)) {
            EXPECT_FALSE(std::regex_search(line.text, platform)) << line.Text();
        }
    }
}

TEST(TheService, IsBuiltWithoutDefines) {
    const std::regex entry(R"("command": "([^\n]*)\",\n\s*"file": "([^"]*)\")");
    const std::string commands = ReadFile(COMPILE_COMMANDS);
    int found = 0;
    for (std::sregex_iterator at(commands.begin(), commands.end(), entry), end; at != end; ++at) {
        const std::string file = fs::path((*at)[2].str()).lexically_relative(SOURCE_DIRECTORY);
        if (IsOfTheService(file)) {
            ++found;
            EXPECT_THAT((*at)[1].str(), Not(testing::HasSubstr(" -D"))) << file;
        }
    }
    EXPECT_EQ(static_cast<size_t>(found), ServiceFiles({".cpp"}).size());
}

TEST(TheInterface, IncludesOnlyItselfAndTheCLibrary) {
    const std::set<std::string> allowed = {"stdbool.h", "stdint.h", "stddef.h", "stdarg.h"};
    for (const std::string& header : InterfaceHeaders()) {
        for (const Include& include : IncludesOf("Platform/include/" + header)) {
            const std::string own = Resolved(include, {"Platform/include"});
            EXPECT_TRUE(allowed.count(include.header) != 0 || BeginsWith(own, "Platform/include/platform/"))
                << include.line.Text();
        }
    }
}

class APlatform : public testing::TestWithParam<std::string> {};

TEST_P(APlatform, IncludesNothingOfTheService) {
    std::set<std::string> serviceHeaders;
    for (const std::string& file : ServiceFiles({".h"})) {
        serviceHeaders.insert(fs::path(file).filename());
    }
    const std::string folder = "Platform/" + GetParam();
    for (const std::string& file : FilesBelow(folder, {".h", ".cpp", ".c"})) {
        for (const Include& include : IncludesOf(file)) {
            const std::string target = Resolved(include, {folder, "Platform/include"});
            EXPECT_FALSE(IsOfTheService(target)) << include.line.Text();
            EXPECT_TRUE(!target.empty() || serviceHeaders.count(fs::path(include.header).filename()) == 0)
                << include.line.Text();
        }
    }
}

TEST_P(APlatform, IsNamedNowhereInTheService) {
    const std::regex name("Platform/" + GetParam() + "|platform_" + GetParam());
    for (const std::string& file : ServiceFiles()) {
        for (const Line& line : LinesOf(file)) {
            EXPECT_FALSE(std::regex_search(line.text, name)) << line.Text();
        }
    }
}

std::vector<std::string> Platforms() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(InTree("Platform"))) {
        if (entry.is_directory() && entry.path().filename() != "include") {
            names.push_back(entry.path().filename());
        }
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Named, APlatform, testing::ValuesIn(Platforms()), [](const auto& test) { return test.param; });

}  // namespace
