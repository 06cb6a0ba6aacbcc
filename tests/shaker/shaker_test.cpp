// Short lives of the service, in which threads are delayed at random wherever they meet.
//
// QUORVEX_SHAKEN_LIVES=n     how many lives
// QUORVEX_SHAKER_SEED=n      the first one's seed, as printed; else a new one each time
//
// The test runs itself again with the shaker preloaded, in several processes.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "shaken_life.h"

namespace {

constexpr uint64_t kLivesOfOneProcess = 25;

uint64_t Setting(const char* name, uint64_t otherwise) {
    const char* const text = getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

bool IsShaken() {
    return getenv("QUORVEX_SHAKEN") != nullptr;
}

/// A process that lives some of the lives.
struct Part {
    FILE* output;
    uint64_t seed;
};

Part Begin(uint64_t seed, uint64_t lives) {
    std::array<char, 4096> self{};
    EXPECT_GT(readlink("/proc/self/exe", self.data(), self.size() - 1), 0);
    const std::string command = std::string("LD_PRELOAD=" SHAKER
                                            " ASAN_OPTIONS=$ASAN_OPTIONS:verify_asan_link_order=0 "
                                            "QUORVEX_SHAKEN=1 QUORVEX_SHAKER_SEED=") +
                                std::to_string(seed) + " QUORVEX_SHAKEN_LIVES=" + std::to_string(lives) +
                                " GTEST_OUTPUT= exec timeout -s ABRT 300 " + self.data() +
                                " --gtest_filter=TheService.* 2>&1";
    return {popen(command.c_str(), "r"), seed};
}

void Await(const Part& part) {
    std::string text;
    std::array<char, 4096> line{};
    while (fgets(line.data(), static_cast<int>(line.size()), part.output) != nullptr) {
        text += line.data();
    }
    EXPECT_EQ(pclose(part.output), 0) << "lives from seed " << part.seed << " on:\n" << text;
}

TEST(TheService, LivesItsShakenLives) {
    if (!IsShaken()) {
        return;
    }
    const uint64_t first = Setting("QUORVEX_SHAKER_SEED", 1);
    for (uint64_t seed = first; seed < first + Setting("QUORVEX_SHAKEN_LIVES", 1); ++seed) {
        std::cerr << "seed " << seed << '\n';
        for (const std::string& problem : LiveShaken(seed)) {
            ADD_FAILURE() << "QUORVEX_SHAKER_SEED=" << seed << ": " << problem;
        }
    }
}

TEST(TheShaker, FindsNothing) {
    if (IsShaken()) {
        return;
    }
    const uint64_t lives = Setting("QUORVEX_SHAKEN_LIVES", DEFAULT_LIVES);
    const uint64_t first = Setting("QUORVEX_SHAKER_SEED", std::random_device{}());
    const size_t atOnce = 2 * std::max(1U, std::thread::hardware_concurrency());
    std::vector<Part> parts;
    std::cout << "QUORVEX_SHAKER_SEED=" << first << ", " << lives << " lives\n";
    for (uint64_t done = 0; done < lives; done += kLivesOfOneProcess) {
        if (parts.size() >= atOnce) {
            Await(parts.front());
            parts.erase(parts.begin());
        }
        parts.push_back(Begin(first + done, std::min(kLivesOfOneProcess, lives - done)));
    }
    std::for_each(parts.begin(), parts.end(), Await);
    RecordProperty("lives", std::to_string(lives));
}

}  // namespace
