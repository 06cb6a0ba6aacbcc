#include <gmock/gmock.h>
#include <platform/dlog.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CThread/CThread.h"
#include "FakePlatform.h"
#include "Faults.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const Asserted kThreadCreated("FlagCreate() == false", "CThread.cpp");
const Asserted kThreadNotCreated("FlagCreate() == true", "CThread.cpp");
const Asserted kSemaphoreCreated("FlagCreate() == false", "CSemaphore.cpp");
const Asserted kSemaphoreNotCreated("FlagCreate() == true", "CSemaphore.cpp");

class Worker : public CThread {
public:
    explicit Worker(std::function<void()> body = [] {}) : body_(std::move(body)) {}

    void t_Main() override {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        nameInside = name;
        tidInside = static_cast<pid_t>(syscall(SYS_gettid));
        idInside = pthread_self();
        handleInside = m_tThread;
        ++runs;
        body_();
    }

    pthread_t Handle() const { return m_tThread; }
    int Tid() const { return m_iTid; }

    std::atomic<int> runs{0};
    std::string nameInside;
    std::atomic<pid_t> tidInside{0};
    pthread_t idInside = 0;
    pthread_t handleInside = 0;

private:
    std::function<void()> body_;
};

class Thread : public testing::Test {
protected:
    static constexpr unsigned long kStack = 4096;

    /// The name that the kernel shows inside a thread of that name.
    std::string NameInside(const char* name) {
        Worker worker;
        EXPECT_TRUE(worker.Create(name, kStack));
        worker.Destroy();
        return worker.nameInside;
    }

    FakePlatform platform;
    Faults faults;
};

TEST_F(Thread, RunsItsBodyOnceAndIsWaitedFor) {
    Worker worker;
    EXPECT_FALSE(worker.FlagCreate());
    ASSERT_TRUE(worker.Create("worker", kStack));
    EXPECT_TRUE(worker.FlagCreate());
    worker.Destroy();
    EXPECT_EQ(worker.runs, 1);
    EXPECT_FALSE(worker.FlagCreate());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CThread.cpp: CThreadRun", "Enter"));
}

TEST_F(Thread, KnowsItsHandleAndKernelIdWhenTheBodyStarts) {
    Worker worker;
    worker.Create("worker", kStack);
    worker.Destroy();
    EXPECT_EQ(worker.handleInside, worker.idInside);
    EXPECT_EQ(worker.Tid(), worker.tidInside);
    EXPECT_NE(worker.Tid(), static_cast<int>(syscall(SYS_gettid)));
}

TEST_F(Thread, ForgetsItsHandleOnceTheBodyHasReturned) {
    Worker worker;
    worker.Create("worker", kStack);
    worker.Destroy();
    EXPECT_EQ(worker.Handle(), static_cast<pthread_t>(-1));
}

TEST_F(Thread, HasItsNameCutTo15Characters) {
    EXPECT_EQ(NameInside("short"), "short");
    EXPECT_EQ(NameInside("exactly15chars!"), "exactly15chars!");
    EXPECT_EQ(NameInside("sixteen--letters"), "sixteen--letter");
    EXPECT_EQ(NameInside("gamepad-timer-thread"), "gamepad-timer-t");
}

TEST_F(Thread, WithAnEmptyNameKeepsTheKernelsName) {
    char own[16] = {};
    pthread_getname_np(pthread_self(), own, sizeof own);
    EXPECT_EQ(NameInside(""), own);
    EXPECT_THAT(Faults::NamesSet(), Not(Contains("")));
}

TEST_F(Thread, GoesOnWithoutANameThatTheKernelRefuses) {
    Worker worker;
    ASSERT_TRUE(worker.Create("unnameable", kStack));
    worker.Destroy();
    EXPECT_EQ(worker.runs, 1);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "CThread.cpp: _Process", "inline: prctl()"));
}

TEST_F(Thread, StartsWithAStackSizeBelowTheMinimum) {
    Worker worker([] {
        volatile char deep[60000] = {};  // more than the refused stack could hold
        deep[59999] = 1;
        EXPECT_EQ(deep[59999], 1);
    });
    ASSERT_TRUE(worker.Create("worker", 1));
    worker.Destroy();
    EXPECT_EQ(worker.runs, 1);
}

TEST_F(Thread, IsDetachedAndHasTheStackThatItAskedFor) {
    constexpr size_t kMegabyte = 1 << 20;
    int detachState = -1;
    size_t stack = 0;
    Worker worker([&] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getdetachstate(&attributes, &detachState);
        pthread_attr_getstacksize(&attributes, &stack);
        pthread_attr_destroy(&attributes);
    });
    ASSERT_TRUE(worker.Create("worker", kMegabyte));
    worker.Destroy();
    EXPECT_EQ(detachState, PTHREAD_CREATE_DETACHED);
    EXPECT_GT(stack, kMegabyte / 2);  // less what the library and the sanitizers need of it
    EXPECT_LE(stack, kMegabyte);
}

TEST_F(Thread, IsWaitedForAsLongAsItsBodyRuns) {
    std::promise<void> leave;
    std::atomic<bool> returned{false};
    Worker worker([&] {
        leave.get_future().wait();
        returned = true;
    });
    worker.Create("worker", kStack);
    const int before = Faults::WaitsBegun();
    std::thread releaser([&] {
        EXPECT_TRUE(Faults::WaitForWaits(before + 1, kSoon)) << "Destroy does not wait";
        leave.set_value();
    });
    worker.Destroy();
    EXPECT_TRUE(returned);
    releaser.join();
}

TEST_F(Thread, CanBeCreatedAgainAfterDestroy) {
    Worker worker;
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(worker.Create("worker", kStack));
        worker.Destroy();
        EXPECT_EQ(worker.runs, i);
    }
}

TEST_F(Thread, PublishesWhatItsBodyDid) {
    int plain = 0;
    Worker worker([&] { plain = 42; });
    worker.Create("worker", kStack);
    worker.Destroy();
    EXPECT_EQ(plain, 42);
}

TEST_F(Thread, ThatCannotStartIsLoggedAndNotCreated) {
    {
        Worker worker;
        faults.FailNext("pthread_create", EAGAIN);
        EXPECT_FALSE(worker.Create("gamepad-timer-thread", kStack));
        EXPECT_FALSE(worker.FlagCreate());
        EXPECT_EQ(worker.runs, 0);
        EXPECT_EQ(worker.Tid(), -1);
        EXPECT_TRUE(
            platform.Logged(DLOG_ERROR, "CThread.cpp: Create", "pthread_create() threadname:[gamepad-timer-thread]"));
        EXPECT_TRUE(platform.Logged(DLOG_ERROR, "CThread.cpp: Create",
                                    "CThread not created: errno = " + std::to_string(EAGAIN)));
        EXPECT_EQ(platform.TakeErrors().size(), 2U);
        EXPECT_THAT(platform.TakeAsserts(), IsEmpty());
    }
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kSemaphoreCreated)) << "the exit semaphore stays created";
}

TEST_F(Thread, ThatCouldNotStartStartsAtTheNextTry) {
    Worker worker;
    faults.FailNext("pthread_create", EAGAIN);
    worker.Create("worker", kStack);
    platform.TakeErrors();
    ASSERT_TRUE(worker.Create("worker", kStack));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kSemaphoreCreated));
    worker.Destroy();
    EXPECT_EQ(worker.runs, 1);
}

TEST_F(Thread, ForgetsItsKernelIdWhenItIsCreatedAgain) {
    Worker worker;
    worker.Create("worker", kStack);
    worker.Destroy();
    EXPECT_GT(worker.Tid(), 0);
    faults.FailNext("pthread_create", EAGAIN);
    worker.Create("worker", kStack);
    EXPECT_EQ(worker.Tid(), -1);
    platform.TakeErrors();
    ASSERT_TRUE(worker.Create("worker", kStack));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kSemaphoreCreated)) << "the exit semaphore stayed created";
    worker.Destroy();
}

TEST_F(Thread, IsNotStartedWithoutMemoryForItsSemaphores) {
    for (const int semaphore : {1, 2}) {
        Worker worker;
        faults.FailNextAllocation(semaphore);
        EXPECT_FALSE(worker.Create("worker", kStack));
        EXPECT_EQ(worker.runs, 0);
    }
}

TEST_F(Thread, WithoutANameIsReportedAndRuns) {
    Worker worker;
    ASSERT_TRUE(worker.Create(nullptr, kStack));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(Asserted("threadname != NULL", "CThread.cpp")));
    worker.Destroy();
    EXPECT_EQ(worker.runs, 1);
}

TEST_F(Thread, CreatedTwiceIsReported) {
    std::promise<void> entered;
    std::promise<void> leave;
    Worker worker([&] {
        entered.set_value();
        leave.get_future().wait();
    });
    worker.Create("worker", kStack);
    entered.get_future().wait();
    faults.FailNext("pthread_create", EAGAIN);  // a second body would use the same object
    EXPECT_FALSE(worker.Create("worker", kStack));
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kThreadCreated, kSemaphoreCreated, kSemaphoreCreated));
    platform.TakeErrors();
    leave.set_value();
    worker.Destroy();
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kThreadNotCreated, kSemaphoreNotCreated));
}

TEST_F(Thread, DestroyedBeforeCreateIsReportedAndDoesNotWait) {
    Worker worker;
    worker.Destroy();
    EXPECT_THAT(platform.TakeAsserts(),
                ElementsAre(kThreadNotCreated, kSemaphoreNotCreated, kSemaphoreNotCreated, kSemaphoreNotCreated));
}

/// True once no thread of this process has that kernel id any more.
bool IsGoneSoon(pid_t tid) {
    const std::string task = "/proc/self/task/" + std::to_string(tid);
    const auto deadline = std::chrono::steady_clock::now() + kSoon;
    while (access(task.c_str(), F_OK) == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return access(task.c_str(), F_OK) != 0;
}

TEST_F(Thread, DestructedWhileCreatedIsReported) {
    {
        Worker worker;
        worker.Create("worker", kStack);
        ASSERT_TRUE(platform.WaitForLog("Enter"));
        while (worker.tidInside == 0) {
            std::this_thread::yield();
        }
        ASSERT_TRUE(IsGoneSoon(worker.tidInside));
    }
    EXPECT_THAT(platform.TakeAsserts(), ElementsAre(kThreadCreated, kSemaphoreCreated, kSemaphoreCreated));
}

TEST_F(Thread, LeavesNoThreadBehind) {
    for (int i = 0; i < 50; ++i) {
        Worker worker;
        worker.Create("worker", kStack);
        worker.Destroy();
        ASSERT_TRUE(IsGoneSoon(worker.tidInside));
    }
}

}  // namespace
