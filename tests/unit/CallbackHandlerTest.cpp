#include "CallbackHandler.h"

#include <gmock/gmock.h>
#include <platform/dlog.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "FakePlatform.h"
#include "Faults.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Asserted kNullCallback("pCb != NULL", "CallbackHandler.cpp");
const Asserted kLockNotCreated("FlagCreate() == true", "CMutex.h");
const Asserted kLockCreated("FlagCreate() == false", "CMutex.h");
const Asserted kSemaphoreCreated("FlagCreate() == false", "CSemaphore.cpp");

class Listener : public GCCallback {
public:
    void t_OnCallback(int event, void* first, void* second, void* third) override {
        ++calls;
        lastEvent = event;
        arguments[0] = first;
        arguments[1] = second;
        arguments[2] = third;
        ownMutexHeld = pthread_mutex_trylock(&m_tCallbackMutex) == EBUSY;
        then();
    }

    std::atomic<int> calls{0};
    int lastEvent = -1;
    void* arguments[3] = {};
    bool ownMutexHeld = false;
    std::function<void()> then = [] {};
};

std::string AlreadyInserted(const GCCallback* callback) {
    char text[80];
    snprintf(text, sizeof text, "INFO: Already, [0x%lx] was inserted.", reinterpret_cast<unsigned long>(callback));
    return text;
}

class Registry : public testing::Test {
protected:
    FakePlatform platform;
    Faults faults;
    CallbackHandler handler;
    Listener listener;
};

class CreatedRegistry : public Registry {
protected:
    CreatedRegistry() { handler.Create(); }
    ~CreatedRegistry() override { handler.Destroy(); }
};

TEST_F(CreatedRegistry, CallsItsListenersWithTheFourArguments) {
    int number = 0;
    handler.RegisterCallback(&listener);
    handler.ExecuteCallback(7, &number, nullptr, &listener);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.lastEvent, 7);
    EXPECT_THAT(listener.arguments, ElementsAre(&number, nullptr, &listener));
    EXPECT_TRUE(listener.ownMutexHeld);
}

TEST_F(CreatedRegistry, DoesNothingWhileItIsEmpty) {
    platform.ForgetLog();
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_THAT(platform.LogMessages(), IsEmpty());
}

TEST_F(CreatedRegistry, CallsInTheOrderOfAddressesEachOnce) {
    Listener listeners[3];
    std::vector<int> order;
    for (const int i : {1, 2, 0}) {
        listeners[i].then = [&order, i] { order.push_back(i); };
        handler.RegisterCallback(&listeners[i]);
    }
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 0, 1, 2));
}

TEST_F(CreatedRegistry, KeepsOneEntryForAListenerThatRegistersTwice) {
    handler.RegisterCallback(&listener);
    handler.RegisterCallback(&listener);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: RegisterCallback", AlreadyInserted(&listener)));
    EXPECT_EQ(platform.LogCount(DLOG_INFO, AlreadyInserted(&listener)), 1);
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 1);
    handler.UnregisterCallback(&listener);
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 1);
}

TEST_F(CreatedRegistry, LetsAnUnknownListenerLeaveWithoutAWord) {
    platform.ForgetLog();
    handler.UnregisterCallback(&listener);
    EXPECT_THAT(platform.LogMessages(), ElementsAre("Enter"));
}

TEST_F(CreatedRegistry, LetsACallbackRegisterAnother) {
    Listener late;
    listener.then = [&] { handler.RegisterCallback(&late); };
    handler.RegisterCallback(&listener);
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    const int first = late.calls;  // by its address it may have had its turn already
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(late.calls, first + 1);
}

TEST_F(CreatedRegistry, LetsACallbackTakeItselfAndOthersOut) {
    Listener listeners[3];
    listeners[1].then = [&] {
        handler.UnregisterCallback(&listeners[1]);
        handler.UnregisterCallback(&listeners[2]);
    };
    for (Listener& one : listeners) {
        handler.RegisterCallback(&one);
    }
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listeners[0].calls, 2);
    EXPECT_EQ(listeners[1].calls, 1);
    EXPECT_EQ(listeners[2].calls, 0);
}

TEST_F(CreatedRegistry, RunsCallbacksOnTheFiringThread) {
    std::thread::id inside;
    listener.then = [&] { inside = std::this_thread::get_id(); };
    handler.RegisterCallback(&listener);
    std::thread firing([&] { handler.ExecuteCallback(0, nullptr, nullptr, nullptr); });
    const std::thread::id expected = firing.get_id();
    firing.join();
    EXPECT_EQ(inside, expected);
}

TEST_F(CreatedRegistry, ServesRegisteringLeavingAndFiringThreadsAtOnce) {
    Listener others[3];
    std::vector<std::thread> threads;
    for (Listener& one : others) {
        threads.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                handler.RegisterCallback(&one);
                handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
                handler.UnregisterCallback(&one);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (Listener& one : others) {
        EXPECT_GE(one.calls, 300);
    }
}

TEST_F(CreatedRegistry, LogsEachOperationButTheFiring) {
    platform.ForgetLog();
    handler.RegisterCallback(&listener);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: RegisterCallback", "Enter"));
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    handler.UnregisterCallback(&listener);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: UnregisterCallback", "Enter"));
    EXPECT_EQ(platform.LogLines().size(), 2U);
}

TEST_F(CreatedRegistry, ReportsANullListenerAndGoesOn) {
    handler.RegisterCallback(&listener);
    handler.RegisterCallback(nullptr);
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNullCallback));
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 1);
    handler.UnregisterCallback(nullptr);
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kNullCallback));
}

TEST_F(CreatedRegistry, CreatedTwiceIsReportedAndEmpty) {
    handler.RegisterCallback(&listener);
    handler.Create();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockCreated, kSemaphoreCreated));
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 0);
}

TEST_F(Registry, ForgetsItsListenersAtDestroyAndLeavesThemAlone) {
    handler.Create();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: Create", "Enter"));
    handler.RegisterCallback(&listener);
    handler.Destroy();
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CallbackHandler.cpp: Destroy", "Enter"));
    handler.Create();
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 0);
    handler.RegisterCallback(&listener);
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(listener.calls, 1);
    handler.Destroy();
}

TEST_F(Registry, UsedBeforeCreateIsReported) {
    handler.RegisterCallback(&listener);
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockNotCreated, kLockNotCreated));
    handler.ExecuteCallback(0, nullptr, nullptr, nullptr);
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockNotCreated, kLockNotCreated));
    handler.UnregisterCallback(&listener);
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockNotCreated, kLockNotCreated));
    handler.Destroy();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockNotCreated));
}

TEST_F(Registry, WithoutALockIsReported) {
    faults.FailNextAllocation();
    handler.Create();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("false", "CallbackHandler.cpp")));
}

TEST_F(Registry, DestructedWhileCreatedIsReportedByItsLock) {
    {
        CallbackHandler forgotten;
        forgotten.Create();
        forgotten.RegisterCallback(&listener);
    }
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kLockCreated, kSemaphoreCreated));
}

}  // namespace
