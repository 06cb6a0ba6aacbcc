#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <thread>

#include "bus/connection.h"
#include "events/context_source.h"
#include "events/events_thread.h"
#include "private_bus.h"

namespace {

constexpr std::chrono::seconds kSoon{20};

/// The thread of events, whose log goes to standard error.
class TheEventsThread : public testing::Test {
protected:
    /// What is said while the events thread does the work and all that was posted before.
    std::string Said(const std::function<void()>& work) {
        testing::internal::CaptureStderr();
        work();
        EXPECT_TRUE(thread_.Run([] {}));
        return testing::internal::GetCapturedStderr();
    }

    static void FindNoMemory() { throw std::bad_alloc(); }

    EventsThread thread_;
};

TEST_F(TheEventsThread, TellsOfPostedWorkThatFindsNoMemoryAndGoesOn) {
    const std::string said = Said([this] { EXPECT_TRUE(thread_.Post(FindNoMemory)); });
    EXPECT_NE(said.find("events: std::bad_alloc; notices may be missing"), std::string::npos) << said;
}

TEST_F(TheEventsThread, AnswersWhoWaitsForWorkThatFindsNoMemory) {
    const std::string said = Said([this] { EXPECT_TRUE(thread_.Run(FindNoMemory)); });
    EXPECT_NE(said.find("notices may be missing"), std::string::npos) << said;
}

TEST_F(TheEventsThread, GoesOnAfterATimerThatFindsNoMemory) {
    ContextSource timer;
    std::promise<void> rang;
    const std::string said = Said([&] {
        thread_.Run([&] {
            timer.After(thread_.Context(), 0, [&] {
                rang.set_value();
                FindNoMemory();
            });
        });
        EXPECT_EQ(rang.get_future().wait_for(kSoon), std::future_status::ready);
    });
    EXPECT_NE(said.find("notices may be missing"), std::string::npos) << said;
    thread_.Run([&] { timer.Stop(); });
}

TEST_F(TheEventsThread, HearsADescriptorAgainAfterANoticeThatFoundNoMemory) {
    const int fd = eventfd(2, EFD_SEMAPHORE | EFD_CLOEXEC);
    ContextSource source;
    std::promise<void> heardTwice;
    const std::string said = Said([&] {
        thread_.Run([&] {
            source.WhenReadable(thread_.Context(), fd, [&, count = 0]() mutable {
                eventfd_t one = 0;
                eventfd_read(fd, &one);
                if (++count == 2) {
                    heardTwice.set_value();
                }
                FindNoMemory();
            });
        });
        EXPECT_EQ(heardTwice.get_future().wait_for(kSoon), std::future_status::ready);
    });
    EXPECT_NE(said.find("notices may be missing"), std::string::npos) << said;
    thread_.Run([&] { source.Stop(); });
    close(fd);
}

// The thread before may still be ending, and with it what it shared.
TEST(ASharedConnection, IsAnotherOneOnTheNextEventsThread) {
    const PrivateBus noBus;
    GMainContext* const context = g_main_context_new();
    const auto ours = BusConnection::Shared(context, BusConnection::Kind::kSession);
    EXPECT_EQ(BusConnection::Shared(context, BusConnection::Kind::kSession), ours);
    std::thread([&ours] {
        GMainContext* const other = g_main_context_new();
        EXPECT_NE(BusConnection::Shared(other, BusConnection::Kind::kSession), ours);
        g_main_context_unref(other);
    }).join();
    g_main_context_unref(context);
}

}  // namespace
