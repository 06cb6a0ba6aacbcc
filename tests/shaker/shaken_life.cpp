#include "shaken_life.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

#include "../../ContextManager/src/GamepadContextManager.h"
#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "FakePlatform.h"
#include "ServiceProcess.h"

namespace {

using std::chrono::milliseconds;

constexpr int kPads = 3;
constexpr int kGames[] = {101, 102, 103};
constexpr int kKeyboard = 104;

/// What chance decides, always in the same order for one seed.
class Chance {
public:
    explicit Chance(uint64_t seed) : random_(seed) {}
    int Below(int end) { return static_cast<int>(random_() % static_cast<uint64_t>(end)); }
    bool Happens(int oneIn) { return Below(oneIn) == 0; }
    template <size_t count>
    int OneOf(const int (&values)[count]) {
        return values[Below(static_cast<int>(count))];
    }

private:
    std::mt19937_64 random_;
};

class ShakenLife {
public:
    explicit ShakenLife(uint64_t seed) : chance_(seed) { Prepare(); }

    std::vector<std::string> Live() {
        {
            ServiceProcess service(platform_);
            Spend(service, chance_.Below(60));
            End(service);
        }
        TakeDown();
        JudgeKeys();
        JudgeLeftovers();
        return problems_;
    }

private:
    void Prepare() {
        platform_.AllowErrors();
        platform_.SetSmartMonitor(chance_.Happens(2));
        platform_.SetInt("db/menu/connection/easy-wakeup", 1);
        platform_.SetInt("memory/accessory/playnest_status", RandomStatus());
        platform_.SetApp(kKeyboard, "com.velmora.tv.keypane-app", 1);
        for (const int game : kGames) {
            platform_.SetApp(game, "game." + std::to_string(game), 1 + chance_.Below(2));
        }
        platform_.SetGameApps(chance_.Happens(2) ? "" : "101");
        for (int pad = chance_.Below(kPads); pad > 0; --pad) {
            platform_.AddPad(Pad(pad));
        }
    }

    void Spend(ServiceProcess& service, int deeds) {
        if (chance_.Happens(2)) {
            service.WaitUntilRunning();
        }
        for (; deeds > 0; --deeds) {
            DoSomething();
            if (chance_.Happens(40)) {
                SendSignal(service);
            }
            if (chance_.Happens(3)) {
                std::this_thread::sleep_for(std::chrono::microseconds(chance_.Below(1500)));
            }
        }
    }

    // A signal that comes before the main loop only leaves its message, so they come until there is an end.
    void End(ServiceProcess& service) {
        const auto deadline = std::chrono::steady_clock::now() + kSoon;
        std::optional<int> status;
        while (!status && std::chrono::steady_clock::now() < deadline) {
            SendSignal(service);
            DoSomething();
            status = service.WaitForEnd(milliseconds(20));
        }
        if (!status) {
            fprintf(stderr, "the service does not end\n");
            abort();
        }
        Expect(*status == 0, "the exit status is " + std::to_string(*status));
    }

    void SendSignal(ServiceProcess& service) {
        const bool isGone = chance_.Happens(3);
        wasGone_ = wasGone_ || isGone;
        if (platform_.LogCount(4, "quorvex Start") > 0) {
            service.Signal(isGone ? SIGUSR1 : SIGTERM);
        }
    }

    void TakeDown() {
        platform_.WaitUntilDelivered(milliseconds(0));
        platform_.WaitUntilNoticesTold();
        platform_.WaitUntilAppStatusTold();
        Singleton<GamepadContextManager>::DestroyInstance();
        Singleton<GamepadEventDispatcher>::DestroyInstance();
    }

    void DoSomething() {
        switch (chance_.Below(12)) {
            case 0:
                return platform_.Connect(AnyPad());
            case 1:
                return platform_.Disconnect(AnyPad());
            case 2:
                return platform_.SendAppStatus(chance_.Happens(2) ? chance_.OneOf(kGames) : 999, 5);
            case 3:
                return platform_.SendAppStatus(kKeyboard, chance_.Happens(2) ? 3 : 7);
            case 4:
                return platform_.SendGameAppNotice(chance_.Below(2), chance_.OneOf(kGames));
            case 5:
                return platform_.SetInt("memory/accessory/playnest_status", RandomStatus());
            case 6:
                return platform_.SetBool("memory/window_system/screensaver_on_off", chance_.Happens(2));
            case 7:
                platform_.SetPowerState(2);
                return platform_.SendStandby();
            default:
                return SendEvents();
        }
    }

    void SendEvents() {
        constexpr int kButtons[] = {0, 1, 10, 11, 14, 14};
        constexpr int kAxes[] = {0, 1, 16};
        const std::string pad = AnyPad();
        if (chance_.Happens(3)) {
            platform_.TryPushEvent(pad, 3, chance_.OneOf(kAxes), chance_.Below(3) - 1);
            return;
        }
        const int button = chance_.OneOf(kButtons);
        platform_.TryPushEvent(pad, 1, button, 1);
        if (chance_.Happens(2)) {
            platform_.TryPushEvent(pad, 1, button, 0);
        }
    }

    int RandomStatus() {
        constexpr int kStatus[] = {0, 1, 1000, 1000};
        return chance_.OneOf(kStatus);
    }
    static std::string Pad(int number) { return "pad " + std::to_string(number); }
    std::string AnyPad() { return Pad(1 + chance_.Below(kPads)); }

    /// One key at a time, and its release before the next press.
    void JudgeKeys() {
        constexpr int kNone = -1;
        int held = kNone;
        for (const SentKey& key : platform_.Keys()) {
            if (key.action == 1) {
                Expect(held == kNone, "key " + std::to_string(key.code) + " is pressed while another is held");
                held = key.code;
            } else if (key.action == 0) {
                Expect(held == key.code, "key " + std::to_string(key.code) + " is released while it is not held");
                held = kNone;
            }
        }
    }

    // A daemon that has gone is told nothing any more. A pad that comes while the others are closed stays open until
    // the library is.
    void JudgeLeftovers() {
        for (const std::string& left : platform_.Leftovers()) {
            const bool isDaemons =
                left == "gamepad connection" || left == "connection callback" || left == "game-app callback";
            Expect((wasGone_ && isDaemons) || left.rfind("device ", 0) == 0, "left behind: " + left);
        }
        for (const std::string& violation : platform_.TakeViolations()) {
            Expect(IsOfTheEnd(violation), "the platform was misused: " + violation);
        }
        for (const AssertReport& report : platform_.TakeAsserts()) {
            problems_.push_back("misuse reported: " + report.expression + " in " + report.file);
        }
    }

    /// The shutdown's order lets a notice come after the pads were closed or the keys finalised, and be acted upon;
    /// both libraries refuse that then.
    static bool IsOfTheEnd(const std::string& violation) {
        const auto has = [&](const char* part) { return violation.find(part) != std::string::npos; };
        return (has("gamepad_destroy_device of device") && has("which is not open")) ||
               has("outside VirtualKey_Initialize and Finalize");
    }

    void Expect(bool holds, const std::string& otherwise) {
        if (!holds) {
            problems_.push_back(otherwise);
        }
    }

    Chance chance_;
    FakePlatform platform_;
    bool wasGone_ = false;
    std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> LiveShaken(uint64_t seed) {
    using Begin = void (*)(uint64_t);
    if (const auto begin = reinterpret_cast<Begin>(dlsym(RTLD_DEFAULT, "shaker_begin"))) {
        begin(seed);
    }
    return ShakenLife(seed).Live();
}
