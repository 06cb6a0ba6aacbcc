// Runs the target once with each file of its corpus, as a test program of its own.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz.h"

extern const char* const kCorpus;  ///< the folder of the target's corpus

namespace {

namespace fs = std::filesystem;

std::vector<std::string> CorpusFiles() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(kCorpus)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ContentOf(const std::string& name) {
    std::ifstream file(fs::path(kCorpus) / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int RunTarget(const std::string& content) {
    return LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
}

class Corpus : public testing::TestWithParam<std::string> {};

TEST_P(Corpus, HarmsNobody) {
    EXPECT_EQ(RunTarget(ContentOf(GetParam())), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, Corpus, testing::ValuesIn(CorpusFiles()), [](const auto& file) {
    std::string name = file.param;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return name;
});

TEST(NoInput, HarmsNobody) {
    EXPECT_EQ(RunTarget(""), 0);
}

}  // namespace
