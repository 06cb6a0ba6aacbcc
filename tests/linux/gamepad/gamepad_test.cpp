#include "platform/gamepad.h"

#include <dirent.h>
#include <gmock/gmock.h>
#include <linux/input.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <future>
#include <mutex>
#include <sstream>
#include <thread>
#include <tuple>

#include "log_record.h"
#include "pad_testbed.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr std::chrono::seconds kDeadline{20};
constexpr int kBatch = 16;  // what the service asks for

using Event = std::tuple<int, int, int>;

Event Button(int number, int value) {
    return {EV_KEY, number, value};
}
Event Axis(int axis, int value) {
    return {EV_ABS, axis, value};
}

struct Notice {
    int type;
    std::string uid;
    std::thread::id thread;
};

/// Every connection notice, in order; does what a client does: opens and closes the pads.
class Client {
public:
    Client() { gamepad_register_connection_callback(Arrive, this); }
    ~Client() { gamepad_unregister_connection_callback(Arrive); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// So many notices; fewer if they do not come in time.
    std::vector<Notice> WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> hold(lock_);
        arrived_.wait_for(hold, kDeadline, [&] { return notices_.size() >= count; });
        return notices_;
    }

    int IdOf(const std::string& uid) {
        const std::lock_guard<std::mutex> hold(lock_);
        return ids_.count(uid) != 0 ? ids_[uid] : -1;
    }

private:
    static void Arrive(int type, _gamepad_device_info_s info, void* client) {
        static_cast<Client*>(client)->Handle(type, info.szUid);
    }

    void Handle(int type, const std::string& uid) {
        int id = -1;
        const std::lock_guard<std::mutex> hold(lock_);
        if (type == GAMEPAD_CONNECTED && gamepad_create_device(uid.c_str(), &id) == 1) {
            ids_[uid] = id;
        }
        if (type == GAMEPAD_DISCONNECTED && ids_.count(uid) != 0) {
            gamepad_destroy_device(ids_[uid]);
            ids_.erase(uid);
        }
        notices_.push_back({type, uid, std::this_thread::get_id()});
        arrived_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<Notice> notices_;
    std::map<std::string, int> ids_;
};

std::vector<Event> TakeOnce(int id) {
    std::array<_gamepad_event_s, kBatch> events;
    int count = kBatch;
    const int result = gamepad_get_events(id, events.data(), &count);
    EXPECT_EQ(result == 1, count > 0);
    std::vector<Event> taken;
    for (const _gamepad_event_s& event : events) {
        if (static_cast<int>(taken.size()) < count) {
            taken.emplace_back(event.type, event.code, event.value);
        }
    }
    return taken;
}

/// Events up to and including the given one, polled as the service does.
std::vector<Event> TakeUntil(int id, const Event& last) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    std::vector<Event> all;
    while (std::find(all.begin(), all.end(), last) == all.end() && std::chrono::steady_clock::now() < deadline) {
        const auto taken = TakeOnce(id);
        all.insert(all.end(), taken.begin(), taken.end());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return all;
}

std::string UidAt(int index) {
    _gamepad_device_info_s info{};
    return gamepad_get_connected_device_Info(&info, nullptr, index) == 1 ? info.szUid : "";
}

int Create(const std::string& uid) {
    int id = -1;
    return gamepad_create_device(uid.c_str(), &id) == 1 ? id : -1;
}

int EntriesIn(const char* folder) {
    int count = 0;
    DIR* open = opendir(folder);
    while (open != nullptr && readdir(open) != nullptr) {
        ++count;
    }
    if (open != nullptr) {
        closedir(open);
    }
    return count;
}

PadModel WithoutPlace(PadModel model) {
    model.phys.clear();
    return model;
}

/// With a udevd, and without.
class GamepadLibrary : public testing::TestWithParam<bool> {
protected:
    GamepadLibrary() {
        SetUdevdRuns(GetParam());
        TakeLog();
    }
    ~GamepadLibrary() override {
        gamepad_close();
        SetReadsFailAsUnplugged(false);
    }

    PadTestbed testbed_;
};

INSTANTIATE_TEST_SUITE_P(Linux, GamepadLibrary, testing::Bool(),
                         [](const auto& run) { return run.param ? "WithUdevd" : "WithoutUdevd"; });

TEST_P(GamepadLibrary, OpensWithoutAnyPad) {
    EXPECT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 0);
    EXPECT_EQ(UidAt(0), "");
    EXPECT_EQ(gamepad_close(), 1);
}

TEST_P(GamepadLibrary, OpensOnlyOnceAndInMenuModeOnly) {
    EXPECT_EQ(gamepad_open_for_custom_mode(7, 0), 0);
    EXPECT_EQ(gamepad_close(), 0);
    EXPECT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1);
    EXPECT_EQ(gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0), 1);
    EXPECT_EQ(gamepad_close(), 1);
    EXPECT_EQ(gamepad_close(), 0);
}

TEST_P(GamepadLibrary, ListsThePadsThatAreThere) {
    testbed_.Plug(3, StandardPad());
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 1);
    EXPECT_EQ(UidAt(0), "0003:045e:028e:usb-0000:00:14.0-2/input0");
    EXPECT_EQ(UidAt(1), "");
    EXPECT_EQ(UidAt(-1), "");
}

TEST_P(GamepadLibrary, TellsPeopleWhichPadItFound) {
    testbed_.Plug(3, StandardPad());
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    EXPECT_THAT(TakeLog(), Contains("pad connected: \"Common Pad\" at /dev/input/event3, standard layout "
                                    "[0003:045e:028e:usb-0000:00:14.0-2/input0]"));
}

TEST_P(GamepadLibrary, TakesNothingElseForAPad) {
    PadModel own = StandardPad();
    own.name = "quorvex virtual remote";
    testbed_.Plug(1, own);
    PadModel motion = StandardPad();
    motion.properties = {INPUT_PROP_ACCELEROMETER};
    testbed_.Plug(2, motion, "E: ID_INPUT_ACCELEROMETER=1\nE: ID_INPUT_JOYSTICK=1\n");
    PadModel keys;
    keys.name = "Keyboard";
    for (unsigned key = KEY_ESC; key < KEY_F12; ++key) {
        keys.keys.push_back(key);
    }
    testbed_.Plug(3, keys, "E: ID_INPUT_KEYBOARD=1\n");
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 0);
}

TEST_P(GamepadLibrary, TellsOfAPadThatComesAndGoes) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, StandardPad());
    auto notices = client.WaitFor(1);
    ASSERT_EQ(notices.size(), 1U);
    EXPECT_EQ(notices[0].type, GAMEPAD_CONNECTED);
    EXPECT_EQ(notices[0].uid, UidAt(0));
    EXPECT_NE(notices[0].thread, std::this_thread::get_id());
    testbed_.Unplug(3);
    notices = client.WaitFor(2);
    ASSERT_EQ(notices.size(), 2U);
    EXPECT_EQ(notices[1].type, GAMEPAD_DISCONNECTED);
    EXPECT_EQ(notices[1].uid, notices[0].uid);
    EXPECT_EQ(notices[1].thread, notices[0].thread);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 0);
}

TEST_P(GamepadLibrary, GivesAPadItsUidAgainWhenItComesBackOnAnotherNode) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, WithoutPlace(StandardPad()));
    client.WaitFor(1);
    testbed_.Unplug(3);
    client.WaitFor(2);
    testbed_.Plug(4, WithoutPlace(StandardPad()));
    const auto notices = client.WaitFor(3);
    ASSERT_EQ(notices.size(), 3U);
    EXPECT_EQ(notices[2].type, GAMEPAD_CONNECTED);
    EXPECT_EQ(notices[2].uid, notices[0].uid);
}

TEST_P(GamepadLibrary, TellsTwinsApart) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, WithoutPlace(StandardPad()));
    client.WaitFor(1);
    testbed_.Plug(4, WithoutPlace(StandardPad()));
    const auto notices = client.WaitFor(2);
    ASSERT_EQ(notices.size(), 2U);
    EXPECT_EQ(notices[1].uid, notices[0].uid + "-2");
    EXPECT_EQ(client.IdOf(notices[0].uid), 0);
    EXPECT_EQ(client.IdOf(notices[1].uid), 1);
    testbed_.Send(4, EV_KEY, BTN_EAST, 1);
    EXPECT_THAT(TakeUntil(1, Button(1, 1)), ElementsAre(Button(1, 1)));
    EXPECT_THAT(TakeOnce(0), IsEmpty());
}

TEST_P(GamepadLibrary, NoticesThatANodeNumberWasTakenByAnotherPad) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, StandardPad());
    client.WaitFor(1);
    testbed_.Unplug(3);
    testbed_.Plug(3, PadWithDirectionKeys());
    const auto notices = client.WaitFor(3);
    ASSERT_EQ(notices.size(), 3U);
    EXPECT_EQ(notices[1].type, GAMEPAD_DISCONNECTED);
    EXPECT_EQ(notices[2].type, GAMEPAD_CONNECTED);
    const int id = client.IdOf(notices[2].uid);
    testbed_.Send(3, EV_KEY, BTN_DPAD_UP, 1);
    EXPECT_THAT(TakeUntil(id, Axis(ABS_HAT0Y, -1)), ElementsAre(Axis(ABS_HAT0Y, -1)));
}

TEST_P(GamepadLibrary, DeliversOneDisconnectionWhenAReadNoticesItFirst) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, StandardPad());
    const std::string uid = client.WaitFor(1).front().uid;
    SetReadsFailAsUnplugged(true);
    EXPECT_THAT(TakeOnce(client.IdOf(uid)), IsEmpty());
    auto notices = client.WaitFor(2);
    ASSERT_EQ(notices.size(), 2U);
    EXPECT_EQ(notices[1].type, GAMEPAD_DISCONNECTED);
    EXPECT_EQ(notices[1].thread, notices[0].thread);
    SetReadsFailAsUnplugged(false);
    testbed_.Unplug(3);
    testbed_.Plug(3, StandardPad());
    notices = client.WaitFor(3);
    ASSERT_EQ(notices.size(), 3U);
    EXPECT_EQ(notices[2].type, GAMEPAD_CONNECTED);
    EXPECT_EQ(notices[2].uid, uid);
}

TEST_P(GamepadLibrary, CallsNobodyAfterTheCallbackIsGone) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client watcher;
    static std::atomic<int> calls{0};
    calls = 0;
    const auto count = [](int, _gamepad_device_info_s, void*) { ++calls; };
    EXPECT_EQ(gamepad_register_connection_callback(count, nullptr), 1);
    EXPECT_EQ(gamepad_unregister_connection_callback(count), 1);
    testbed_.Plug(3, StandardPad());
    EXPECT_EQ(watcher.WaitFor(1).size(), 1U);
    EXPECT_EQ(calls, 0);
}

TEST_P(GamepadLibrary, RefusesToCloseFromInsideACallback) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    static std::promise<std::pair<int, int>> results;
    results = {};
    const auto close = [](int, _gamepad_device_info_s, void*) {
        results.set_value({gamepad_close(), gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0)});
    };
    gamepad_register_connection_callback(close, nullptr);
    testbed_.Plug(3, StandardPad());
    auto result = results.get_future();
    ASSERT_EQ(result.wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(result.get(), std::make_pair(0, 1));
    gamepad_unregister_connection_callback(close);
}

TEST_P(GamepadLibrary, LeaksNothingInManyConnections) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    Client client;
    testbed_.Plug(3, StandardPad());
    testbed_.Plug(4, StandardPad());
    client.WaitFor(2);
    testbed_.Unplug(4);
    client.WaitFor(3);
    const int threads = EntriesIn("/proc/self/task");
    for (std::size_t i = 0; i < 10; ++i) {
        testbed_.Plug(5, KnownOldPad());
        client.WaitFor(4 + 2 * i);
        testbed_.Unplug(5);
        ASSERT_EQ(client.WaitFor(5 + 2 * i).size(), 5 + 2 * i);
    }
    EXPECT_LE(EntriesIn("/proc/self/task"), threads);
    EXPECT_EQ(gamepad_get_connected_gampad_count(), 1);
}

TEST_P(GamepadLibrary, OpensAndClosesManyTimesWithoutLeavingADescriptor) {
    testbed_.Plug(3, StandardPad());
    const auto cycle = [] {
        gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
        Create(UidAt(0));
        gamepad_close();
    };
    cycle();
    const int before = EntriesIn("/proc/self/fd");
    for (int i = 0; i < 50; ++i) {
        cycle();
    }
    EXPECT_LE(EntriesIn("/proc/self/fd"), before + 5);  // umockdev's own come and go
}

TEST_P(GamepadLibrary, RunsItsThreadUnderItsNameWithAllSignalsBlocked) {
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    bool found = false;
    DIR* tasks = opendir("/proc/self/task");
    while (const dirent* task = readdir(tasks)) {
        std::ostringstream status;  // empty of a thread that has ended since
        status << std::ifstream(std::string("/proc/self/task/") + task->d_name + "/status").rdbuf();
        const std::string text = status.str();
        if (text.find("Name:\tgamepad-hotplug\n") != std::string::npos) {
            found = true;
            // All but SIGKILL, SIGSTOP and the two that the C library keeps for itself.
            constexpr unsigned long kAll = 0xfffffffe7ffbfeff;
            const std::string field = "SigBlk:\t";
            EXPECT_EQ(std::strtoul(text.c_str() + text.find(field) + field.size(), nullptr, 16) & kAll, kAll);
        }
    }
    closedir(tasks);
    EXPECT_TRUE(found);
}

/// A pad that is open, in the way of a client that found it at its start.
class AnOpenPad : public testing::Test {
protected:
    AnOpenPad() { SetUdevdRuns(true); }
    ~AnOpenPad() override { gamepad_close(); }

    int Open(const PadModel& model) {
        testbed_.Plug(3, model);
        gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
        id_ = Create(UidAt(0));
        return id_;
    }

    void Send(int type, int code, int value) { testbed_.Send(3, type, code, value); }
    std::vector<Event> Until(const Event& last) { return TakeUntil(id_, last); }

    PadTestbed testbed_;
    int id_ = -1;
};

TEST_F(AnOpenPad, GetsTheLowestFreeId) {
    testbed_.Plug(3, WithoutPlace(StandardPad()));
    testbed_.Plug(4, WithoutPlace(StandardPad()));
    testbed_.Plug(5, WithoutPlace(StandardPad()));
    gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0);
    EXPECT_EQ(Create(UidAt(0)), 0);
    EXPECT_EQ(Create(UidAt(1)), 1);
    EXPECT_EQ(Create(UidAt(2)), 2);
    EXPECT_EQ(gamepad_destroy_device(1), 1);
    EXPECT_EQ(gamepad_destroy_device(1), 0);
    EXPECT_EQ(Create(UidAt(1)), 1);
}

TEST_F(AnOpenPad, CannotBeOpenedTwice) {
    ASSERT_EQ(Open(StandardPad()), 0);
    EXPECT_EQ(Create(UidAt(0)), -1);
    gamepad_destroy_device(0);
    EXPECT_EQ(Create(UidAt(0)), 0);
}

TEST_F(AnOpenPad, MustBeConnected) {
    Open(StandardPad());
    int id = 77;
    EXPECT_EQ(gamepad_create_device("no such pad", &id), 0);
    EXPECT_EQ(id, 77);
    EXPECT_EQ(gamepad_create_device(nullptr, &id), 0);
    EXPECT_EQ(gamepad_create_device(UidAt(0).c_str(), nullptr), 0);
}

TEST_F(AnOpenPad, IsClosedWithTheLibrary) {
    Open(StandardPad());
    gamepad_close();
    std::array<_gamepad_event_s, kBatch> events;
    int count = kBatch;
    EXPECT_EQ(gamepad_get_events(0, events.data(), &count), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(gamepad_destroy_device(0), 0);
}

TEST_F(AnOpenPad, DeliversItsButtonsSticksAndHat) {
    Open(StandardPad());
    Send(EV_KEY, BTN_SOUTH, 1);
    Send(EV_ABS, ABS_X, 32767);
    Send(EV_ABS, ABS_HAT0X, -1);
    Send(EV_KEY, BTN_SOUTH, 0);
    EXPECT_THAT(Until(Button(0, 0)), ElementsAre(Button(0, 1), Axis(ABS_X, 32767), Axis(ABS_HAT0X, -1), Button(0, 0)));
}

TEST_F(AnOpenPad, SaysWhenEachEventHappened) {
    Open(StandardPad());
    const auto Now = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
    };
    const auto before = Now();
    Send(EV_KEY, BTN_SOUTH, 1);
    const auto after = Now();
    _gamepad_event_s event{};
    int count = 1;
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (gamepad_get_events(id_, &event, &count) != 1 && std::chrono::steady_clock::now() < deadline) {
        count = 1;
    }
    const std::uint64_t time = event.time;
    EXPECT_GE(time, static_cast<std::uint64_t>(before.count()));
    EXPECT_LE(time, static_cast<std::uint64_t>(after.count()));
}

TEST_F(AnOpenPad, IsNotActiveWhileItDrifts) {
    Open(StandardPad());
    for (int i = 0; i < 20; ++i) {
        Send(EV_ABS, ABS_X, i % 2 == 0 ? 90 : -60);
        Send(EV_MSC, MSC_SCAN, i);
    }
    Send(EV_KEY, BTN_MODE, 1);
    EXPECT_THAT(Until(Button(14, 1)), ElementsAre(Button(14, 1)));
}

TEST_F(AnOpenPad, DoesNotInventAPressOfWhatIsHeldAlready) {
    PadModel model = StandardPad();
    model.held = {BTN_SOUTH};
    Open(model);
    EXPECT_THAT(TakeOnce(id_), IsEmpty());
    Send(EV_KEY, BTN_SOUTH, 0);
    Send(EV_KEY, BTN_EAST, 1);
    EXPECT_THAT(Until(Button(1, 1)), ElementsAre(Button(1, 1)));
}

/// The device answers, whenever it is asked for its state: the stick is centred, button 1 alone is held.
TEST_F(AnOpenPad, IsRightAgainAfterAnOverrunOfTheKernelsQueue) {
    PadModel model = StandardPad();
    model.held = {BTN_EAST};
    Open(model);
    Send(EV_KEY, BTN_EAST, 0);
    Send(EV_KEY, BTN_SOUTH, 1);
    Send(EV_ABS, ABS_X, 32767);
    EXPECT_THAT(Until(Axis(ABS_X, 32767)), ElementsAre(Button(0, 1), Axis(ABS_X, 32767)));
    Send(EV_SYN, SYN_DROPPED, 0);
    EXPECT_THAT(Until(Axis(ABS_X, 0)), testing::UnorderedElementsAre(Button(0, 0), Button(1, 1), Axis(ABS_X, 0)));
    Send(EV_KEY, BTN_EAST, 0);
    EXPECT_THAT(Until(Button(1, 0)), ElementsAre(Button(1, 0)));
}

TEST_F(AnOpenPad, AnswersForTheRangesThatItDelivers) {
    Open(StandardPad());
    int maximum = 0;
    int minimum = 0;
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_X, &maximum, &minimum), 1);
    EXPECT_EQ(std::make_pair(minimum, maximum), std::make_pair(-32768, 32767));
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_Z, &maximum, &minimum), 1);
    EXPECT_EQ(std::make_pair(minimum, maximum), std::make_pair(0, 255));
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_HAT0Y, &maximum, &minimum), 1);
    EXPECT_EQ(std::make_pair(minimum, maximum), std::make_pair(-1, 1));
    for (const int axis : {-1, 6, ABS_GAS, ABS_MAX, 1000}) {
        EXPECT_EQ(gamepad_get_abs_value_range(id_, axis, &maximum, &minimum), 0) << axis;
    }
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_X, nullptr, &minimum), 0);
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_X, &maximum, nullptr), 0);
    EXPECT_EQ(gamepad_get_abs_value_range(id_ + 1, ABS_X, &maximum, &minimum), 0);
}

TEST_F(AnOpenPad, MayHaveAMapping) {
    Open(KnownOldPad());
    bool standard = true;
    EXPECT_EQ(is_standard_gamepad(id_, &standard), 1);
    EXPECT_FALSE(standard);
    int maximum = 0;
    int minimum = 0;
    EXPECT_EQ(gamepad_get_abs_value_range(id_, ABS_RX, &maximum, &minimum), 1);
    Send(EV_ABS, ABS_Z, 255);  // its right stick
    EXPECT_THAT(Until(Axis(ABS_RX, maximum)), Contains(Axis(ABS_RX, maximum)));
    Send(EV_KEY, BTN_THUMB, 1);  // its second button is the lower face button
    EXPECT_THAT(Until(Button(0, 1)), Contains(Button(0, 1)));
}

TEST_F(AnOpenPad, MayBeUnknownAndIsGuessedThen) {
    TakeLog();
    Open(NumberedPad());
    EXPECT_THAT(TakeLog(), Contains(HasSubstr("buttons are guessed")));
    Send(EV_KEY, BTN_SOUTH, 1);
    EXPECT_THAT(Until(Button(0, 1)), ElementsAre(Button(0, 1)));
}

TEST_F(AnOpenPad, KnowsWhetherItIsStandard) {
    Open(StandardPad());
    bool standard = false;
    EXPECT_EQ(is_standard_gamepad(id_, &standard), 1);
    EXPECT_TRUE(standard);
    EXPECT_EQ(is_standard_gamepad(id_, nullptr), 0);
    EXPECT_EQ(is_standard_gamepad(id_ + 1, &standard), 0);
}

TEST_F(AnOpenPad, ToleratesOddCalls) {
    Open(StandardPad());
    Send(EV_KEY, BTN_SOUTH, 1);
    std::array<_gamepad_event_s, kBatch> events;
    for (const int capacity : {0, -1, INT32_MIN}) {
        int count = capacity;
        EXPECT_EQ(gamepad_get_events(id_, events.data(), &count), 0);
        EXPECT_EQ(count, 0);
    }
    int count = kBatch;
    EXPECT_EQ(gamepad_get_events(id_, nullptr, &count), 0);
    EXPECT_EQ(gamepad_get_events(id_, events.data(), nullptr), 0);
    for (const int id : {-1, 1, 1000, INT32_MIN, INT32_MAX}) {
        count = kBatch;
        EXPECT_EQ(gamepad_get_events(id, events.data(), &count), 0) << id;
        EXPECT_EQ(count, 0);
    }
    EXPECT_THAT(Until(Button(0, 1)), ElementsAre(Button(0, 1)));
}

TEST_F(AnOpenPad, MayCallItselfAnything) {
    PadModel model = StandardPad();
    model.name = "Evil\n\x1b[2J\xff pad";
    model.uniq = std::string(250, '\x80');
    TakeLog();
    ASSERT_EQ(Open(model), 0);
    EXPECT_LT(UidAt(0).size(), 256U);
    EXPECT_THAT(TakeLog(), Contains(HasSubstr("\"Evil??[2J\xEF\xBF\xBD pad\"")));
}

TEST_F(AnOpenPad, MayHaveEveryButtonThatThereIs) {
    PadModel model = StandardPad();
    for (unsigned key = BTN_MISC; key < KEY_MAX; ++key) {
        const bool of_a_pointer = (key >= BTN_MOUSE && key < BTN_JOYSTICK) || (key >= BTN_DIGI && key < BTN_WHEEL);
        if (!of_a_pointer) {
            model.keys.push_back(key);
        }
    }
    ASSERT_EQ(Open(model), 0);
    for (int key = BTN_TRIGGER_HAPPY; key < KEY_MAX; ++key) {
        testbed_.SendRaw(3, EV_KEY, key, 1);
    }
    Send(EV_KEY, BTN_TRIGGER, 1);  // the first of them all
    EXPECT_THAT(Until(Button(0, 1)), ElementsAre(Button(0, 1)));
}

}  // namespace
