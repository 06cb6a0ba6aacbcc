#include "turns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "CThread/CSemaphore.h"

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

/// Threads that write down what they do. Only the one whose turn it is runs, so the list needs no lock; ThreadSanitizer
/// does not know that.
class Threads : public testing::Test {
protected:
    ~Threads() override {
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    void Start(std::function<void()> body) { threads_.emplace_back(std::move(body)); }
    void Note(const std::string& what) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto now = std::chrono::duration_cast<milliseconds>(Turns::Now());
        notes_.push_back(std::to_string(now.count()) + " " + what);
    }
    std::vector<std::string> Notes() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return notes_;
    }

    Turns turns_{[] {}};

private:
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::vector<std::string> notes_;
};

TEST_F(Threads, WakeInTheOrderOfTheirTimes) {
    Start([this] {
        usleep(50000);
        Note("late");
    });
    Start([this] {
        usleep(20000);
        Note("early");
    });
    turns_.Pass(milliseconds(100));
    EXPECT_THAT(Notes(), ElementsAre("20 early", "50 late"));
    EXPECT_EQ(Turns::Now(), milliseconds(100));
}

TEST_F(Threads, WhoLayDownFirstWakesFirst) {
    Start([this] {
        usleep(20000);
        usleep(30000);
        Note("second");
    });
    Start([this] {
        usleep(50000);
        Note("first");
    });
    turns_.Pass(milliseconds(50));
    EXPECT_THAT(Notes(), ElementsAre("50 first", "50 second"));
}

TEST_F(Threads, LiveExactlyAsLongAsTheyAreLet) {
    Start([this] {
        for (int i = 0; i < 3; ++i) {
            usleep(50000);
            Note("look");
        }
    });
    turns_.Pass(milliseconds(99));
    EXPECT_THAT(Notes(), ElementsAre("50 look"));
    turns_.Pass(milliseconds(1));
    EXPECT_THAT(Notes(), ElementsAre("50 look", "100 look"));
    turns_.Pass(milliseconds(50));
}

TEST_F(Threads, ASemaphoreRunsOutByTheVirtualClock) {
    CSemaphore semaphore;
    ASSERT_TRUE(semaphore.Create(0));
    EXPECT_FALSE(semaphore.Try(30000));
    EXPECT_EQ(Turns::Now(), std::chrono::seconds(30));
    semaphore.Destroy();
}

TEST_F(Threads, ASemaphoreThatIsGivenEndsTheWait) {
    CSemaphore semaphore;
    ASSERT_TRUE(semaphore.Create(0));
    Start([&] {
        usleep(200000);
        semaphore.Give();
    });
    EXPECT_TRUE(semaphore.Try(1500));
    EXPECT_EQ(Turns::Now(), milliseconds(200));
    semaphore.Destroy();
}

TEST_F(Threads, WhoWaitsForAMutexGoesOnWhenItIsFree) {
    std::mutex mutex;
    Start([&] {
        const std::lock_guard<std::mutex> lock(mutex);
        usleep(70000);
        Note("gives it back");
    });
    turns_.Pass(milliseconds(10));
    const std::lock_guard<std::mutex> lock(mutex);
    Note("has it");
    EXPECT_THAT(Notes(), ElementsAre("70 gives it back", "70 has it"));
}

TEST(TurnsDeathTest, TellsOfThreadsThatWaitForEachOther) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const Turns turns([] { fprintf(stderr, "in this scenario"); });
            CSemaphore semaphore;
            semaphore.Create(0);
            semaphore.Take();
        },
        "wait for each other.*\n*in this scenario");
}

}  // namespace
