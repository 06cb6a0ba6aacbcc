#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "CThread/Singleton.h"
#include "FakePlatform.h"
#include "Faults.h"

namespace {

std::atomic<int> built{0};
std::atomic<int> alive{0};
std::atomic<bool> throwing{false};

class Only : public Singleton<Only> {
public:
    Only() {
        ++built;
        if (throwing) {
            throw std::runtime_error("cannot be built");
        }
        ++alive;
    }
    ~Only() override { --alive; }
};

class TheInstance : public testing::Test {
protected:
    TheInstance() {
        built = 0;
        throwing = false;
    }
    ~TheInstance() override { Singleton<Only>::DestroyInstance(); }

    FakePlatform platform;
    Faults faults;
};

TEST_F(TheInstance, IsBuiltOnFirstUseAndStaysTheSame) {
    EXPECT_EQ(built, 0);
    Only* const first = Singleton<Only>::GetInstance();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(Singleton<Only>::GetInstance(), first);
    EXPECT_EQ(built, 1);
}

TEST_F(TheInstance, IsOneForManyThreads) {
    std::atomic<bool> start{false};
    std::atomic<Only*> seen[4] = {};
    std::thread threads[4];
    for (int i = 0; i < 4; ++i) {
        threads[i] = std::thread([&, i] {
            while (!start) {
            }
            seen[i] = Singleton<Only>::GetInstance();
        });
    }
    start = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(built, 1);
    for (const auto& one : seen) {
        EXPECT_EQ(one, seen[0]);
    }
}

TEST_F(TheInstance, IsDestroyedThroughItsOwnDestructorAndBuiltAfresh) {
    Singleton<Only>::GetInstance();
    EXPECT_EQ(alive, 1);
    Singleton<Only>::DestroyInstance();
    EXPECT_EQ(alive, 0);
    EXPECT_NE(Singleton<Only>::GetInstance(), nullptr);
    EXPECT_EQ(built, 2);
}

TEST_F(TheInstance, NeedNotExistToBeDestroyed) {
    Singleton<Only>::DestroyInstance();
    Singleton<Only>::DestroyInstance();
    EXPECT_EQ(built, 0);
}

TEST_F(TheInstance, IsNullWithoutMemoryAndTriedAgainByTheNextCall) {
    faults.FailNextAllocation();
    EXPECT_EQ(Singleton<Only>::GetInstance(), nullptr);
    EXPECT_NE(Singleton<Only>::GetInstance(), nullptr);
    EXPECT_EQ(built, 1);
}

TEST_F(TheInstance, PassesOnWhatItsConstructorThrowsAndLeavesTheLockFree) {
    throwing = true;
    EXPECT_THROW(Singleton<Only>::GetInstance(), std::runtime_error);
    throwing = false;
    Only* fromElsewhere = nullptr;
    std::thread([&] { fromElsewhere = Singleton<Only>::GetInstance(); }).join();
    EXPECT_NE(fromElsewhere, nullptr);
}

TEST_F(TheInstance, IsNotDestroyedWhileItIsLeased) {
    auto lease = std::make_unique<Singleton<Only>::Lease>();
    EXPECT_EQ(lease->Get(), Singleton<Only>::GetInstance());
    std::atomic<bool> given{false};
    std::atomic<bool> started{false};
    std::thread destroyer([&] {
        started = true;
        Singleton<Only>::DestroyInstance();
        EXPECT_TRUE(given);
    });
    while (!started) {
        std::this_thread::yield();
    }
    EXPECT_EQ(alive, 1);
    given = true;
    lease.reset();
    destroyer.join();
    EXPECT_EQ(alive, 0);
}

TEST_F(TheInstance, IsBuiltByALeaseWhenThereIsNone) {
    const Singleton<Only>::Lease one;
    const Singleton<Only>::Lease other;
    EXPECT_NE(one.Get(), nullptr);
    EXPECT_EQ(one.Get(), other.Get());
    EXPECT_EQ(built, 1);
}

}  // namespace
