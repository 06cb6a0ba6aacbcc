#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

#include "generator.h"
#include "life.h"

namespace {

constexpr int kLivesPerSeed = 100;
constexpr int kLongestLife = 600;  // steps

long NumberFrom(const char* variable, long otherwise) {
    const char* const text = getenv(variable);
    return text == nullptr ? otherwise : strtol(text, nullptr, 0);
}

/// What went wrong in the shortest life in which it does, or nothing.
std::optional<std::string> LiveHundredLives(uint64_t seed, Life::Seen& seen) {
    rc::detail::TestParams params;
    params.seed = seed;
    params.maxSuccess = kLivesPerSeed;
    params.maxSize = kLongestLife;
    const auto as_the_model = [&seen] {
        const Scenario scenario = *AnyScenario();
        const auto wrong = Life::Live(scenario, seen);
        if (wrong) {
            RC_FAIL(*wrong);
        }
    };
    const auto result = rc::detail::checkTestable(as_the_model, rc::detail::TestMetadata{}, params);
    if (result.is<rc::detail::SuccessResult>()) {
        return std::nullopt;
    }
    std::ostringstream text;
    rc::detail::printResultMessage(result, text);
    return text.str();
}

void Print(const Life::Seen& seen) {
    using Hours = std::chrono::duration<double, std::ratio<3600>>;
    printf("fingerprint %zx\n", seen.fingerprint);
    printf("%ld events and %ld steps in %ld lives, %.1f hours of service; it did\n", seen.events, seen.steps,
           seen.lives, Hours(seen.time).count());
    for (const auto& [deed, times] : seen.deeds) {
        printf("%9ld x %s\n", times, deed.c_str());
    }
}

TEST(TheService, DoesInEveryLifeWhatTheModelDoes) {
    const auto now = static_cast<long>(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000);
    const auto first = static_cast<uint64_t>(NumberFrom("QUORVEX_SEED", now));
    const long wanted = NumberFrom("QUORVEX_MODEL_EVENTS", QUORVEX_MODEL_EVENTS);
    printf("QUORVEX_SEED=%llu\n", static_cast<unsigned long long>(first));
    Life::Seen seen;
    for (uint64_t seed = first; seen.events < wanted; ++seed) {
        const auto wrong = LiveHundredLives(seed, seen);
        ASSERT_FALSE(wrong) << *wrong << "\nAgain: QUORVEX_SEED=" << seed << " QUORVEX_MODEL_EVENTS=1";
    }
    Print(seen);
}

TEST(TheModelTest, RepeatsExactlyFromItsSeed) {
    Life::Seen once;
    Life::Seen again;
    EXPECT_EQ(LiveHundredLives(4711, once), std::nullopt);
    EXPECT_EQ(LiveHundredLives(4711, again), std::nullopt);
    EXPECT_GT(once.deeds.size(), 20u);
    EXPECT_EQ(once.fingerprint, again.fingerprint);
}

}  // namespace
