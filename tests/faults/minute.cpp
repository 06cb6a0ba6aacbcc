#include "minute.h"

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace {

using std::chrono::milliseconds;

constexpr int kDataDirectory = 77;
constexpr int kSelect = 10, kStart = 11, kHome = 14, kBound = 5, kUnknown = 6, kUnbound = 7;
constexpr int kGame = 4711, kMenu = 4712, kKeyboard = 4713;
constexpr int kForeground = 3, kFocus = 5, kHidden = 7;

constexpr char kPlaydeck[] = "memory/accessory/playnest_status";
constexpr char kPolicy[] = "db/menu/homeview/homedatacontrol/defaultdisclaimeragree";

// What is told in a step is told before the next one, unless a fault keeps it away.
constexpr milliseconds kTold{500};

}  // namespace

void Minute::WriteConfiguration(const std::string& directory) {
    std::filesystem::create_directories(directory + "/accessory");
    std::ofstream(directory + "/accessory/app_config.json")
        << R"({"global_config": [{"key_code": 5, "runtitle": "Starfall Racer", "virtual_key": 731},)"
           R"( {"key_code": 6, "runtitle": "A title that nobody has ever heard of", "virtual_key": 732},)"
           R"( {"key_code": 7, "runtitle": "", "virtual_key": 0}]})";
}

Minute::Minute(FakePlatform& platform, const std::string& directory) : platform_(platform) {
    platform.SetDirectory(kDataDirectory, directory);
    platform.SetSmartMonitor(true);
    platform.SetInt("db/menu/connection/easy-wakeup", 1);
    platform.SetGameApps("4000,4001");
    platform.SetApp(4000, "game.4000", 1);
    platform.SetApp(kGame, "game.4711", 2);
    platform.SetApp(kKeyboard, "com.velmora.tv.keypane-app", 1);
    StoreAnswer unknown;
    unknown.status = 3;
    platform.SetStoreAnswer("A title that nobody has ever heard of", unknown);
    platform.AddPad("one");
    UsePads();
    UseHome();
    HoldCombination();
    LaunchApplications();
    ComeAndGo();
    SleepAndWake();
    Play();
    End();
}

Minute::Milliseconds Minute::Next() {
    if (IsOver()) {
        return Milliseconds(50);
    }
    const Step& step = steps_[next_++];
    step.action();
    return step.pause;
}

void Minute::Do(std::function<void()> step, Milliseconds pause) {
    steps_.push_back({std::move(step), pause});
}

void Minute::Event(const char* pad, int type, int code, int value, Milliseconds pause) {
    Do([this, pad, type, code, value] { platform_.TryPushEvent(pad, type, code, value); }, pause);
}

void Minute::Tap(const char* pad, int button, Milliseconds pause) {
    Event(pad, 1, button, 1, pause);
    Event(pad, 1, button, 0);
}

void Minute::Change(const std::string& key, const Setting& value) {
    Do([this, key, value] {
        if (const bool* const flag = std::get_if<bool>(&value)) {
            platform_.SetBool(key, *flag);
        } else {
            platform_.SetInt(key, std::get<int>(value));
        }
        platform_.WaitUntilChangesTold(kTold);
    });
}

void Minute::UsePads() {
    Tap("one", 0);
    for (const int axis : {0, 1, 3, 4}) {
        Event("one", 3, axis, 32767);
        Event("one", 3, axis, 0);
    }
    Event("one", 3, 16, -1);
    Event("one", 3, 16, 0);
}

void Minute::UseHome() {
    Tap("one", kHome);
    Change(kPlaydeck, 1000);
    Tap("one", kHome, milliseconds(600));
    Tap("one", kHome, milliseconds(1100));
    Change(kPlaydeck, 1);
    Tap("one", kHome);
}

void Minute::HoldCombination() {
    Event("one", 1, kSelect, 1);
    Event("one", 1, kStart, 1);
    for (int polls = 0; polls < 24; ++polls) {
        Do([] {});
    }
    Event("one", 1, kSelect, 0);
    Event("one", 1, kStart, 0);
}

void Minute::LaunchApplications() {
    for (const int button : {kBound, kUnknown, kUnbound}) {
        Tap("one", button);
    }
    Change(kPolicy, 0);
    Tap("one", kBound);
    Change(kPolicy, 1);
}

void Minute::ComeAndGo() {
    Do([this] {
        platform_.Connect("two");
        platform_.WaitUntilNoticesTold(kTold);
    });
    Event("two", 1, 1, 1);
    Tap("one", 0);
    Do([this] {
        platform_.Disconnect("two");
        platform_.WaitUntilNoticesTold(kTold);
    });
}

void Minute::SleepAndWake() {
    Do([] {}, milliseconds(25000));
    Change("memory/window_system/screensaver_on_off", true);
    Tap("one", 0);
    Change("memory/window_system/screensaver_on_off", false);
    Do([this] {
        platform_.SetPowerState(2);
        platform_.SendStandby();
        platform_.WaitUntilStandbyTold(kTold);
    });
    Tap("one", 0, milliseconds(25000));
}

void Minute::Play() {
    const auto tell = [this](int pid, int status) {
        Do([this, pid, status] {
            platform_.SendAppStatus(pid, status);
            platform_.WaitUntilAppStatusTold(kTold);
        });
    };
    const auto game = [this](int notice) {
        Do([this, notice] {
            platform_.SendGameAppNotice(notice, kGame);
            platform_.WaitUntilNoticesTold(kTold);
        });
    };
    Event("one", 1, 1, 1);
    game(GAMEAPP_OPENED);
    Event("one", 1, 1, 0);
    Tap("one", kHome);
    tell(kKeyboard, kForeground);
    Tap("one", 0);
    tell(kKeyboard, kHidden);
    tell(kGame, kFocus);
    tell(kMenu, kFocus);
    game(GAMEAPP_CLOSED);
}

void Minute::End() {
    Event("one", 1, 0, 1);
    Do([] { kill(getpid(), SIGTERM); });
}
