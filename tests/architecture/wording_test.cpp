// What no file of the tree speaks of.

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "source_tree.h"

namespace {

namespace fs = std::filesystem;

/// Everything that belongs to the project: the folders and files at the top, without what a build leaves there.
std::vector<std::string> AllFiles() {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(InTree(""))) {
        const std::string name = entry.path().filename();
        if (name == ".git" || name.rfind("build", 0) == 0) {
            continue;
        }
        if (entry.is_regular_file()) {
            files.push_back(name);
        } else if (entry.is_directory()) {
            const auto below = FilesBelow(name);
            files.insert(files.end(), below.begin(), below.end());
        }
    }
    return files;
}

/// The words are put together here, so that this file does not speak of them either.
std::string Word(const std::string& beginning, const std::string& rest) {
    return beginning + rest;
}

void ExpectNowhere(const std::regex& words) {
    for (const std::string& file : AllFiles()) {
        for (const Line& line : LinesOf(file)) {
            EXPECT_FALSE(std::regex_search(line.text, words)) << line.Text();
        }
    }
}

TEST(TheTree, IsReadWhole) {
    const std::vector<std::string> files = AllFiles();
    const std::set<std::string> all(files.begin(), files.end());
    for (const char* const file : {"CMakeLists.txt", "Main/main.cpp", "Platform/include/platform/aul.h"}) {
        EXPECT_EQ(all.count(file), 1U) << file;
    }
    EXPECT_GT(all.size(), 100U);
}

TEST(TheTree, SpeaksOfItselfAlone) {
    const std::string word = Word("spec", "ifications?");
    ExpectNowhere(std::regex("\\b(the |this |our |its )?" + word + "\\b|\\b" + Word("spec", "") + "\\.md\\b|\\bthe " +
                                 Word("spec", "") + "\\b",
                             std::regex::icase));
}

TEST(TheTree, NumbersNoPartsOfADescription) {
    ExpectNowhere(std::regex("\\b" + Word("Par", "ts?") + " [0-9]+\\.[0-9]+"));
}

}  // namespace
