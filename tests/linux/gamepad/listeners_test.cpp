#include "gamepad/listeners.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <thread>

using gamepad::Listeners;

namespace {

std::atomic<int> g_calls{0};
void Count(int, _gamepad_device_info_s, void*) {
    ++g_calls;
}

std::promise<void>* g_entered = nullptr;
std::shared_future<void> g_may_leave;
std::atomic<bool> g_has_left{false};
void Stay(int, _gamepad_device_info_s, void*) {
    g_entered->set_value();
    g_may_leave.wait();
    g_has_left = true;
}

void RemoveItself(int, _gamepad_device_info_s, void* listeners) {
    ++g_calls;
    static_cast<Listeners*>(listeners)->Remove(RemoveItself);
}

void RemoveCount(int, _gamepad_device_info_s, void* listeners) {
    static_cast<Listeners*>(listeners)->Remove(Count);
}

class Registered : public testing::Test {
protected:
    Registered() { g_calls = 0; }
    Listeners listeners_;
};

TEST_F(Registered, AreCalledWithWhatHappened) {
    static int type = 0;
    static std::string uid;
    listeners_.Add(
        [](int what, _gamepad_device_info_s info, void*) {
            type = what;
            uid = info.szUid;
        },
        nullptr);
    _gamepad_device_info_s info{};
    info.szUid[0] = 'x';
    listeners_.Notify(GAMEPAD_DISCONNECTED, info);
    EXPECT_EQ(type, GAMEPAD_DISCONNECTED);
    EXPECT_EQ(uid, "x");
}

TEST_F(Registered, AreEachCalledOnce) {
    EXPECT_TRUE(listeners_.Add(Count, nullptr));
    EXPECT_FALSE(listeners_.Add(Count, nullptr));
    EXPECT_FALSE(listeners_.Add(nullptr, nullptr));
    listeners_.Notify(GAMEPAD_CONNECTED, {});
    EXPECT_EQ(g_calls, 1);
}

TEST_F(Registered, AreNotCalledAfterTheirRemoval) {
    listeners_.Add(Count, nullptr);
    EXPECT_TRUE(listeners_.Remove(Count));
    EXPECT_FALSE(listeners_.Remove(Count));
    listeners_.Notify(GAMEPAD_CONNECTED, {});
    EXPECT_EQ(g_calls, 0);
}

TEST_F(Registered, MayRemoveThemselves) {
    listeners_.Add(RemoveItself, &listeners_);
    listeners_.Notify(GAMEPAD_CONNECTED, {});
    listeners_.Notify(GAMEPAD_CONNECTED, {});
    EXPECT_EQ(g_calls, 1);
}

TEST_F(Registered, MayRemoveTheOneThatWouldBeCalledNext) {
    listeners_.Add(RemoveCount, &listeners_);
    listeners_.Add(Count, nullptr);
    listeners_.Notify(GAMEPAD_CONNECTED, {});
    EXPECT_EQ(g_calls, 0);
}

TEST_F(Registered, AreWaitedForByTheirRemoval) {
    std::promise<void> entered;
    std::promise<void> may_leave;
    g_entered = &entered;
    g_may_leave = may_leave.get_future().share();
    g_has_left = false;
    listeners_.Add(Stay, nullptr);
    std::thread notifier([this] { listeners_.Notify(GAMEPAD_CONNECTED, {}); });
    entered.get_future().wait();
    auto removal = std::async(std::launch::async, [this] {
        listeners_.Remove(Stay);
        return g_has_left.load();
    });
    EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    may_leave.set_value();
    EXPECT_TRUE(removal.get());
    notifier.join();
}

}  // namespace
