#include <gmock/gmock.h>
#include <platform/dlog.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

#include "CThread/CSemaphore.h"
#include "FakePlatform.h"
#include "Faults.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

const Asserted kNotCreated("FlagCreate() == true", "CSemaphore.cpp");
const Asserted kStillCreated("FlagCreate() == false", "CSemaphore.cpp");

milliseconds Since(steady_clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

class Semaphore : public testing::Test {
protected:
    ~Semaphore() override {
        if (semaphore.FlagCreate()) {
            semaphore.Destroy();
        }
    }

    FakePlatform platform;
    Faults faults;
    CSemaphore semaphore;
};

TEST_F(Semaphore, IsCreatedBetweenCreateAndDestroy) {
    EXPECT_FALSE(semaphore.FlagCreate());
    EXPECT_TRUE(semaphore.Create(0));
    EXPECT_TRUE(semaphore.FlagCreate());
    semaphore.Destroy();
    EXPECT_FALSE(semaphore.FlagCreate());
}

TEST_F(Semaphore, CanBeCreatedAgainWithItsNewCount) {
    semaphore.Create(5);
    semaphore.Destroy();
    semaphore.Create(1);
    EXPECT_TRUE(semaphore.Try(0));
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(Semaphore, IsNotCreatedWithoutMemory) {
    faults.FailNextAllocation();
    EXPECT_FALSE(semaphore.Create(0));
    EXPECT_FALSE(semaphore.FlagCreate());
}

TEST_F(Semaphore, LetsAsManyTakersPassAsItHasUnits) {
    semaphore.Create(2);
    semaphore.Take();
    semaphore.Take();
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(Semaphore, TryWithZeroTakesAUnitOrGivesUpAtOnce) {
    semaphore.Create(1);
    EXPECT_TRUE(semaphore.Try(0));
    const int before = Faults::WaitsBegun();
    EXPECT_FALSE(semaphore.Try(0));
    EXPECT_EQ(Faults::WaitsBegun(), before) << "it waited";
}

TEST_F(Semaphore, KeepsAGiveThatComesBeforeTheTake) {
    semaphore.Create(0);
    semaphore.Give();
    semaphore.Take();
    semaphore.Give();
    EXPECT_TRUE(semaphore.Try(0));
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(Semaphore, CollectsGivesWithoutABound) {
    semaphore.Create(0);
    for (int i = 0; i < 3; ++i) {
        semaphore.Give();
    }
    for (int i = 0; i < 3; ++i) {
        semaphore.Take();
    }
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(Semaphore, ThatIsFullStaysSo) {
    semaphore.Create(INT32_MAX);
    semaphore.Give();
    EXPECT_TRUE(semaphore.Try(0));
    EXPECT_TRUE(semaphore.Try(0));
}

TEST_F(Semaphore, WithANegativeCountNeedsThatManyExtraGives) {
    semaphore.Create(-2);
    semaphore.Give();
    semaphore.Give();
    EXPECT_FALSE(semaphore.Try(0));
    semaphore.Give();
    EXPECT_TRUE(semaphore.Try(0));
}

TEST_F(Semaphore, TakeWaitsForAGiveOfAnotherThread) {
    semaphore.Create(0);
    std::atomic<bool> given{false};
    const int before = Faults::WaitsBegun();
    std::thread giver([&] {
        EXPECT_TRUE(Faults::WaitForWaits(before + 1, kSoon));
        given = true;
        semaphore.Give();
    });
    semaphore.Take();
    EXPECT_TRUE(given);
    giver.join();
}

TEST_F(Semaphore, OneGiveWakesOneTaker) {
    semaphore.Create(0);
    std::atomic<int> passed{0};
    const int before = Faults::WaitsBegun();
    std::vector<std::thread> takers;
    takers.reserve(3);
    for (int i = 0; i < 3; ++i) {
        takers.emplace_back([&] {
            semaphore.Take();
            ++passed;
        });
    }
    ASSERT_TRUE(Faults::WaitForWaits(before + 3, kSoon));
    semaphore.Give();
    semaphore.Give();
    semaphore.Give();
    for (std::thread& taker : takers) {
        taker.join();
    }
    EXPECT_EQ(passed, 3);
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(Semaphore, TryWithoutAGiveEndsAfterItsTime) {
    semaphore.Create(0);
    const auto start = steady_clock::now();
    EXPECT_FALSE(semaphore.Try(1500));
    EXPECT_GE(Since(start), milliseconds(1450));
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(Semaphore, TryEndsAtOnceWhenAnotherThreadGives) {
    semaphore.Create(0);
    const int before = Faults::WaitsBegun();
    std::thread giver([&] {
        EXPECT_TRUE(Faults::WaitForWaits(before + 1, kSoon));
        semaphore.Give();
    });
    const auto start = steady_clock::now();
    EXPECT_TRUE(semaphore.Try(600000));
    EXPECT_LT(Since(start), milliseconds(300000));
    giver.join();
    EXPECT_FALSE(semaphore.Try(0)) << "the count is back where it was";
}

TEST_F(Semaphore, TryWithAUnitAtHandReadsNoClock) {
    semaphore.Create(1);
    faults.FailNext("gettimeofday", -1);
    EXPECT_TRUE(semaphore.Try(1000));
}

TEST_F(Semaphore, TryForEverBehavesLikeTake) {
    semaphore.Create(0);
    const int before = Faults::WaitsBegun();
    std::thread giver([&] {
        EXPECT_TRUE(Faults::WaitForWaits(before + 1, kSoon));
        semaphore.Give();
    });
    EXPECT_TRUE(semaphore.Try(0xFFFFFFFFUL));
    EXPECT_THAT(Faults::Deadlines(), IsEmpty());
    giver.join();
}

class SemaphoreDeadline : public Semaphore {
protected:
    /// The deadline of Try(ms) at that time of day, as seconds and nanoseconds.
    std::pair<long, long> DeadlineOf(unsigned long ms, long seconds, long microseconds) {
        faults.SetClock(seconds, microseconds);
        faults.AnswerTimedWaits({ETIMEDOUT});
        EXPECT_FALSE(semaphore.Try(ms));
        const timespec deadline = Faults::Deadlines().back();
        return {deadline.tv_sec, deadline.tv_nsec};
    }
};

TEST_F(SemaphoreDeadline, CarriesMicrosecondsIntoSeconds) {
    semaphore.Create(0);
    EXPECT_EQ(DeadlineOf(999, 100, 500000), std::make_pair(101L, 499000000L));
    EXPECT_EQ(DeadlineOf(999, 100, 1000), std::make_pair(101L, 0L));
    EXPECT_EQ(DeadlineOf(999, 100, 999), std::make_pair(100L, 999999000L));
    EXPECT_EQ(DeadlineOf(999, 100, 999999), std::make_pair(101L, 998999000L));
}

TEST_F(SemaphoreDeadline, SplitsLongTimesIntoSecondsAndTheRest) {
    semaphore.Create(0);
    EXPECT_EQ(DeadlineOf(30000, 100, 7), std::make_pair(130L, 7000L));
    EXPECT_EQ(DeadlineOf(1500, 100, 600000), std::make_pair(102L, 100000000L));
    EXPECT_EQ(DeadlineOf(0xFFFFFFFEUL, 100, 0), std::make_pair(100L + 4294967L, 294000000L));
}

TEST_F(SemaphoreDeadline, GoesOnAfterTheYear2038) {
    constexpr time_t kLastOf32Bits = 2147483647;
    semaphore.Create(0);
    faults.SetClock(kLastOf32Bits, 999999);
    faults.AnswerTimedWaits({ETIMEDOUT});
    EXPECT_FALSE(semaphore.Try(1));
    EXPECT_EQ(Faults::Deadlines().back().tv_sec, kLastOf32Bits + 1);
}

TEST_F(SemaphoreDeadline, StartsOverAfterAWakeUpWithoutAUnit) {
    semaphore.Create(0);
    faults.SetClock(100, 0, 400000);
    faults.AnswerTimedWaits({0, 0, ETIMEDOUT});
    EXPECT_FALSE(semaphore.Try(1000));
    const auto deadlines = Faults::Deadlines();
    ASSERT_EQ(deadlines.size(), 3U);
    EXPECT_EQ(deadlines[0].tv_sec * 10 + deadlines[0].tv_nsec / 100000000, 1010);
    EXPECT_EQ(deadlines[1].tv_sec * 10 + deadlines[1].tv_nsec / 100000000, 1014);
    EXPECT_EQ(deadlines[2].tv_sec * 10 + deadlines[2].tv_nsec / 100000000, 1018);
}

class SemaphoreMisuse : public Semaphore {};

TEST_F(SemaphoreMisuse, CreatedTwiceIsReportedAndStartsWithTheNewCount) {
    semaphore.Create(5);
    EXPECT_TRUE(semaphore.Create(1));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kStillCreated));
    EXPECT_TRUE(semaphore.Try(0));
    EXPECT_FALSE(semaphore.Try(0));
}

TEST_F(SemaphoreMisuse, UsedBeforeCreateIsReportedAndDoesNothing) {
    semaphore.Take();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
    semaphore.Give();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
    EXPECT_FALSE(semaphore.Try(0));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
    EXPECT_FALSE(semaphore.Try(100));
    EXPECT_FALSE(semaphore.Try(0xFFFFFFFFUL));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated, kNotCreated));
    semaphore.Destroy();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
}

TEST_F(SemaphoreMisuse, ReportsLeaveNoLockBehind) {
    semaphore.Take();
    semaphore.Give();
    semaphore.Destroy();
    platform.TakeAsserts();
    std::thread([&] {
        semaphore.Create(1);
        semaphore.Take();
    }).join();
}

TEST_F(SemaphoreMisuse, DestructedWhileCreatedIsReported) {
    {
        CSemaphore forgotten;
        forgotten.Create(0);
    }
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kStillCreated));
}

class SemaphoreFailure : public Semaphore {
protected:
    SemaphoreFailure() { semaphore.Create(1); }

    bool LoggedIn(const std::string& operation, const std::string& message) const {
        return platform.Logged(DLOG_INFO, "CSemaphore.cpp: " + operation, message);
    }
};

TEST_F(SemaphoreFailure, OfTheLockIsLoggedByEachOperationThatGoesOn) {
    CSemaphore other;
    const auto failing = [&](auto operation) {
        faults.FailNext("pthread_mutex_lock", EINVAL);
        operation();
    };
    failing([&] { EXPECT_TRUE(other.Create(0)); });
    EXPECT_TRUE(LoggedIn("Create", "pthread_mutex_lock()"));
    failing([&] { other.Give(); });
    EXPECT_TRUE(LoggedIn("Give", "pthread_mutex_lock()"));
    failing([&] { other.Take(); });
    EXPECT_TRUE(LoggedIn("Take", "pthread_mutex_lock()"));
    failing([&] { EXPECT_FALSE(other.Try(0)); });
    EXPECT_TRUE(LoggedIn("Try", "pthread_mutex_lock()"));
    failing([&] { other.Destroy(); });
    EXPECT_TRUE(LoggedIn("Destroy", "pthread_mutex_lock()"));
    EXPECT_FALSE(other.FlagCreate());
}

TEST_F(SemaphoreFailure, OfTheUnlockIsLoggedByEachOperationThatGoesOn) {
    CSemaphore other;
    const auto failing = [&](auto operation) {
        faults.FailNext("pthread_mutex_unlock", EPERM);
        operation();
    };
    failing([&] { EXPECT_TRUE(other.Create(0)); });
    EXPECT_TRUE(LoggedIn("Create", "pthread_mutex_unlock()"));
    failing([&] { other.Give(); });
    EXPECT_TRUE(LoggedIn("Give", "pthread_mutex_unlock()"));
    failing([&] { EXPECT_TRUE(other.Try(0)); });
    EXPECT_TRUE(LoggedIn("Try", "pthread_mutex_unlock()"));
    other.Give();
    failing([&] { other.Take(); });
    EXPECT_TRUE(LoggedIn("Take", "pthread_mutex_unlock()"));
    failing([&] { other.Destroy(); });
    EXPECT_TRUE(LoggedIn("Destroy", "pthread_mutex_unlock()"));
}

TEST_F(SemaphoreFailure, OfTheWaitIsLoggedAndTheWaitGoesOn) {
    semaphore.Take();
    faults.FailNext("pthread_cond_wait", EINVAL);
    const int before = Faults::WaitsBegun();
    std::thread giver([&] {
        EXPECT_TRUE(Faults::WaitForWaits(before + 2, kSoon));
        semaphore.Give();
    });
    semaphore.Take();
    giver.join();
    EXPECT_TRUE(LoggedIn("Take", "pthread_cond_wait()"));
}

TEST_F(SemaphoreFailure, OfTheSignalIsLoggedAndTheUnitCounts) {
    faults.FailNext("pthread_cond_signal", EINVAL);
    semaphore.Give();
    EXPECT_TRUE(LoggedIn("Give", "pthread_cond_signal()"));
    semaphore.Take();
    semaphore.Take();
}

TEST_F(SemaphoreFailure, OfTheClockIsLoggedAndTryYieldsNothing) {
    semaphore.Take();
    faults.FailNext("gettimeofday", -1);
    EXPECT_FALSE(semaphore.Try(1000));
    EXPECT_TRUE(LoggedIn("Try", "gettimeofday()"));
    EXPECT_THAT(Faults::Deadlines(), IsEmpty());
}

TEST_F(SemaphoreFailure, OfTheTimedWaitIsLoggedAndTryYieldsNothing) {
    semaphore.Take();
    faults.AnswerTimedWaits({EINVAL});
    EXPECT_FALSE(semaphore.Try(1000));
    EXPECT_TRUE(LoggedIn("Try", "pthread_cond_timedwait()"));
}

TEST_F(SemaphoreFailure, OfTheConditionsEndIsLoggedAndTheStateIsGone) {
    faults.FailNext("pthread_cond_destroy", EBUSY);
    semaphore.Destroy();
    EXPECT_TRUE(LoggedIn("Destroy", "pthread_cond_destroy()"));
    EXPECT_FALSE(semaphore.FlagCreate());
}

TEST(Semaphores, ServeManyThreadsWithoutLosingAUnit) {
    FakePlatform platform;
    CSemaphore semaphore;
    semaphore.Create(0);
    constexpr int kRounds = 2000;
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                semaphore.Give();
            }
        });
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                if (round % 2 == 0) {
                    semaphore.Take();
                } else {
                    EXPECT_TRUE(semaphore.Try(60000));
                }
                ++taken;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(taken, 3 * kRounds);
    EXPECT_FALSE(semaphore.Try(0));
    semaphore.Destroy();
}

}  // namespace
