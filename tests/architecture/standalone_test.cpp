// Every header and every source of the service stands alone, with include paths and nothing else.

#include <gtest/gtest.h>

#include <cctype>

#include "command.h"
#include "source_tree.h"

namespace {

constexpr char kStrict[] = " -fsyntax-only -Wall -Wextra -Wpedantic -Werror ";

std::string Name(std::string text) {
    for (char& letter : text) {
        letter = isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return text;
}

std::string Includes(const std::string& list, const std::string& option) {
    std::string options;
    for (const std::string& folder : SplitAtBars(list)) {
        options += " " + option + Quoted(folder);
    }
    return options;
}

std::string InterfaceInclude() {
    return " -I" + Quoted(InTree("Platform/include"));
}
std::string ServiceInclude() {
    return Includes(SERVICE_INCLUDES, "-I") + InterfaceInclude() + Includes(LIBRARY_INCLUDES, "-isystem ");
}

/// A source that consists of this include, twice: the second one must add nothing.
std::string Including(const std::string& header) {
    return "printf '#include \"%s\"\\n#include \"%s\"\\nextern int unused;\\n' " + Quoted(header) + " " +
           Quoted(header) + " | ";
}

void ExpectCompiles(const std::string& command) {
    const Finished finished = Run(command);
    EXPECT_EQ(finished.status, 0) << command << "\n" << finished.output;
    EXPECT_EQ(finished.output, "");
}

using OneByCompiler = std::tuple<std::string, std::string>;  // a file and a compiler

std::string NameOfBoth(const testing::TestParamInfo<OneByCompiler>& test) {
    const std::string compiler = std::get<1>(test.param);
    return Name(std::get<0>(test.param)) + "_with_" + Name(compiler.substr(compiler.rfind('/') + 1));
}

class AnInterfaceHeaderInC : public testing::TestWithParam<OneByCompiler> {};
class AnInterfaceHeaderInCxx : public testing::TestWithParam<OneByCompiler> {};
class AServiceFile : public testing::TestWithParam<OneByCompiler> {};

TEST_P(AnInterfaceHeaderInC, CompilesAlone) {
    const auto& [header, compiler] = GetParam();
    ExpectCompiles(Including(header) + Quoted(compiler) + " -std=c99 -x c" + kStrict + InterfaceInclude() + " -");
}

TEST_P(AnInterfaceHeaderInCxx, CompilesAlone) {
    const auto& [header, compiler] = GetParam();
    ExpectCompiles(Including(header) + Quoted(compiler) + " -std=c++17 -x c++" + kStrict + InterfaceInclude() + " -");
}

TEST_P(AServiceFile, CompilesAloneWithIncludePathsOnly) {
    const auto& [file, compiler] = GetParam();
    const std::string path = InTree(file);
    const std::string how = " -std=c++17 -x c++ -fsyntax-only -Wall -Wextra -Werror" + ServiceInclude();
    const bool isHeader = file.substr(file.size() - 2) == ".h";
    ExpectCompiles((isHeader ? Including(path) : "") + Quoted(compiler) + how + (isHeader ? " -" : " " + Quoted(path)));
}

INSTANTIATE_TEST_SUITE_P(OfThePlatform, AnInterfaceHeaderInC,
                         testing::Combine(testing::ValuesIn(InterfaceHeaders()),
                                          testing::ValuesIn(SplitAtBars(C_COMPILERS))),
                         NameOfBoth);
INSTANTIATE_TEST_SUITE_P(OfThePlatform, AnInterfaceHeaderInCxx,
                         testing::Combine(testing::ValuesIn(InterfaceHeaders()),
                                          testing::ValuesIn(SplitAtBars(CXX_COMPILERS))),
                         NameOfBoth);
INSTANTIATE_TEST_SUITE_P(OfEachFolder, AServiceFile,
                         testing::Combine(testing::ValuesIn(ServiceFiles()),
                                          testing::Values(SplitAtBars(CXX_COMPILERS).front())),
                         NameOfBoth);

}  // namespace
