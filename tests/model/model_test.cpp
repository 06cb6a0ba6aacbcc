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
constexpr int kLongestLife = 200;  // steps

long NumberFrom(const char* variable, long otherwise) {
    const char* const text = getenv(variable);
    return text == nullptr ? otherwise : strtol(text, nullptr, 0);
}

/// What went wrong in the shortest life in which it does, or nothing.
std::optional<std::string> LiveHundredLives(uint64_t seed, long& events) {
    rc::detail::TestParams params;
    params.seed = seed;
    params.maxSuccess = kLivesPerSeed;
    params.maxSize = kLongestLife;
    const auto as_the_model = [&events] {
        const Scenario scenario = *AnyScenario();
        const auto wrong = Life::Live(scenario, events);
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

TEST(TheService, DoesInEveryLifeWhatTheModelDoes) {
    const auto start = std::chrono::steady_clock::now();
    const long wanted = NumberFrom("QUORVEX_MODEL_EVENTS", QUORVEX_MODEL_EVENTS);
    const auto first = static_cast<uint64_t>(NumberFrom("QUORVEX_SEED", start.time_since_epoch().count() % 1000000));
    printf("QUORVEX_SEED=%llu\n", static_cast<unsigned long long>(first));
    long events = 0;
    uint64_t seed = first;
    for (; events < wanted; ++seed) {
        const auto wrong = LiveHundredLives(seed, events);
        ASSERT_FALSE(wrong) << *wrong << "Again: QUORVEX_SEED=" << seed << " QUORVEX_MODEL_EVENTS=1";
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    printf("%ld events in %llu lives, %.1f s\n", events, static_cast<unsigned long long>((seed - first) * kLivesPerSeed), time.count());
}

}  // namespace
