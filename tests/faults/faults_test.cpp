// Every call that may fail fails once.
//
// QUORVEX_FAULT=function:n  makes that one call fail in the test's own process, for a debugger.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

#include "CallRecorder.h"
#include "minute.h"
#include "trial.h"

namespace {

/// Where a life costs much more, only every so manieth call of a function fails, beyond its first ones.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStride = 7;
#else
constexpr int kStride = 1;
#endif
constexpr int kFirstOnes = 10;

class Home {
public:
    Home() { Minute::WriteConfiguration(path_ = mkdtemp(name_)); }
    ~Home() { std::filesystem::remove_all(path_); }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    const std::string& path() const { return path_; }

private:
    char name_[32] = "/tmp/quorvex-faults-XXXXXX";
    std::string path_;
};

class AMinute : public testing::Test {
protected:
    /// How often each function is called when nothing fails.
    std::map<std::string, int> Counts() {
        const Outcome outcome = LiveMinutes({{}}, home_.path()).at(0);
        EXPECT_TRUE(outcome.problems.empty()) << testing::PrintToString(outcome);
        return outcome.counts;
    }

    void FailEachOnce(const std::string& title, const std::map<std::string, int>& counts) {
        std::vector<Fault> faults;
        for (const auto& [function, count] : counts) {
            for (int nth = 1; nth <= count; nth += nth < kFirstOnes ? 1 : kStride) {
                faults.push_back({function, nth});
            }
        }
        std::set<std::string> functions;
        int reached = 0;
        for (const Outcome& outcome : LiveMinutes(faults, home_.path())) {
            EXPECT_TRUE(outcome.problems.empty()) << testing::PrintToString(outcome);
            functions.insert(outcome.fault.function);
            reached += outcome.isReached ? 1 : 0;
        }
        EXPECT_GE(reached, static_cast<int>(faults.size() * 9 / 10)) << "the lives differ too much";
        std::cout << title << ": " << reached << " failing calls of " << functions.size() << " functions tried\n";
        RecordProperty("tried", reached);
    }

    Home home_;
};

/// Those of the platform, which the test double makes fail. One has no result.
bool IsPlatforms(const std::string& function) {
    return CallRecorder::Functions().count(function) != 0 && function != "VirtualKey_Finalize";
}

template <class Predicate>
std::map<std::string, int> Only(std::map<std::string, int> counts, Predicate wanted) {
    for (auto one = counts.begin(); one != counts.end();) {
        one = wanted(one->first) ? std::next(one) : counts.erase(one);
    }
    return counts;
}

TEST_F(AMinute, SurvivesEveryPlatformCallThatFails) {
    FailEachOnce("platform", Only(Counts(), IsPlatforms));
}

TEST_F(AMinute, SurvivesEveryCallOfTheThreadAndCLibrariesThatFails) {
    FailEachOnce("thread and C libraries", Only(Counts(), [](const std::string& function) {
                     return FaultPlan::Knows(function) && function != "memory";
                 }));
}

TEST_F(AMinute, SurvivesEveryAllocationThatFails) {
    FailEachOnce("memory", Only(Counts(), [](const std::string& function) { return function == "memory"; }));
}

/// Without it a test of failing calls would test nothing of what it does not reach.
TEST_F(AMinute, CallsAlmostEverything) {
    for (const auto& [function, count] : Counts()) {
        const bool isUnused = function == "vconf_get_bool" || function == "vconf_get_str" ||
                              function == "vconf_set_str" || function == "system_info_get_value_int";
        EXPECT_EQ(count == 0, isUnused) << function;
    }
}

TEST(AFault, OfTheEnvironmentIsLivedHere) {
    const char* const wanted = getenv("QUORVEX_FAULT");
    if (wanted == nullptr) {
        return;
    }
    const std::string text = wanted;
    const size_t colon = text.find(':');
    const Home home;
    const Outcome outcome = LiveAMinute({text.substr(0, colon), std::stoi(text.substr(colon + 1))}, home.path());
    EXPECT_TRUE(outcome.problems.empty()) << testing::PrintToString(outcome);
}

}  // namespace
