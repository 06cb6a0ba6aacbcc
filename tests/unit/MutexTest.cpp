#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CThread/CMutex.h"
#include "FakePlatform.h"
#include "Faults.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Asserted kNotCreated("FlagCreate() == true", "CMutex.h");
const Asserted kStillCreated("FlagCreate() == false", "CMutex.h");
const Asserted kSemaphoreStillCreated("FlagCreate() == false", "CSemaphore.cpp");

class Mutex : public testing::Test {
protected:
    ~Mutex() override {
        if (mutex.FlagCreate()) {
            mutex.Destroy();
        }
    }

    void Note(const std::string& what) {
        const std::lock_guard<std::mutex> lock(notesLock_);
        notes.push_back(what);
    }

    /// A thread that wants the lock, waits for it and notes that it got it.
    std::thread Contender() {
        const int before = Faults::WaitsBegun();
        std::thread thread([this] {
            mutex.Lock();
            Note("taken");
            mutex.Unlock();
        });
        EXPECT_TRUE(Faults::WaitForWaits(before + 1, kSoon));
        return thread;
    }

    /// By the calling thread: another one gets the mutex when it is unlocked once, and not before.
    void ExpectHeldUntilUnlocked() {
        std::thread contender = Contender();
        Note("still held");
        mutex.Unlock();
        contender.join();
        EXPECT_THAT(notes, ElementsAre("still held", "taken"));
    }

    FakePlatform platform;
    Faults faults;
    CMutex mutex;
    std::vector<std::string> notes;

private:
    std::mutex notesLock_;
};

TEST_F(Mutex, IsCreatedBetweenCreateAndDestroy) {
    EXPECT_FALSE(mutex.FlagCreate());
    EXPECT_TRUE(mutex.Create());
    EXPECT_TRUE(mutex.FlagCreate());
    mutex.Destroy();
    EXPECT_FALSE(mutex.FlagCreate());
}

TEST_F(Mutex, IsNotCreatedWithoutMemory) {
    faults.FailNextAllocation();
    EXPECT_FALSE(mutex.Create());
    EXPECT_FALSE(mutex.FlagCreate());
}

TEST_F(Mutex, IsFreeForOthersOnlyAfterItsOwnersLastUnlock) {
    mutex.Create();
    mutex.Lock();
    mutex.Lock();
    mutex.Lock();
    std::thread contender = Contender();
    mutex.Unlock();
    mutex.Unlock();
    Note("still held");
    mutex.Unlock();
    contender.join();
    EXPECT_THAT(notes, ElementsAre("still held", "taken"));
}

TEST_F(Mutex, IgnoresTheUnlockOfAThreadThatDoesNotOwnIt) {
    mutex.Create();
    mutex.Lock();
    std::thread([this] { mutex.Unlock(); }).join();
    ExpectHeldUntilUnlocked();
}

TEST_F(Mutex, IgnoresTheUnlockOfAFreeOne) {
    mutex.Create();
    mutex.Unlock();
    mutex.Lock();
    ExpectHeldUntilUnlocked();
}

TEST_F(Mutex, IsTakenAnewByTheThreadThatHadItLast) {
    mutex.Create();
    mutex.Lock();
    mutex.Unlock();
    mutex.Lock();
    ExpectHeldUntilUnlocked();
}

TEST_F(Mutex, CreatedAgainIsFree) {
    mutex.Create();
    mutex.Lock();
    mutex.Destroy();
    mutex.Create();
    std::thread([this] {
        mutex.Lock();
        Note("taken");
        mutex.Unlock();
    }).join();
    EXPECT_THAT(notes, ElementsAre("taken"));
}

TEST_F(Mutex, KeepsThreadsApart) {
    mutex.Create();
    int counter = 0;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                mutex.Lock();
                mutex.Lock();
                ++counter;
                mutex.Unlock();
                mutex.Unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 4 * kRounds);
}

TEST_F(Mutex, UsedBeforeCreateIsReportedAndDoesNothing) {
    mutex.Lock();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
    mutex.Unlock();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
    mutex.Destroy();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNotCreated));
}

TEST_F(Mutex, CreatedTwiceIsReportedByItselfAndItsSemaphore) {
    mutex.Create();
    EXPECT_TRUE(mutex.Create());
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kStillCreated, kSemaphoreStillCreated));
    mutex.Lock();
    mutex.Unlock();
    EXPECT_THAT(platform.TakeAsserts(), IsEmpty());
}

TEST_F(Mutex, DestructedWhileCreatedIsReportedByItselfAndItsSemaphore) {
    {
        CMutex forgotten;
        forgotten.Create();
    }
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kStillCreated, kSemaphoreStillCreated));
}

}  // namespace
