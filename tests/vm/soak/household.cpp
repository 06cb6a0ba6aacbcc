#include "household.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "floods.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kMostPads = 4;  // as many as may hold Home
constexpr const char* kStatusKey = "memory/accessory/playnest_status";
constexpr int kHoldsHome = 1000;
constexpr milliseconds kHomeIsHeld{1000};
constexpr milliseconds kAHandHolds{400};
constexpr int kUntilTheScreensaver = Session::kIdleSeconds + 5;
constexpr double kWithinTheBand = 12000;
constexpr double kAllAround = 32000;

std::vector<Control> Together(std::vector<Control> one, const std::vector<Control>& other) {
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

const std::vector<std::vector<Control>>& KindsOfPads() {
    static const std::vector<std::vector<Control>> kinds{
        ControlsOfACommonPad(), ControlsOfAPadWithDirectionButtons(),
        Together(ControlsOfAPadWithAHomePageKey(), ControlsOfACommonPad()), ControlsOfAnOldUsbPad()};
    return kinds;
}

bool Has(const UinputPad& pad, int button) {
    const auto& buttons = pad.Layout().buttons;
    return std::find(buttons.begin(), buttons.end(), button) != buttons.end();
}

}  // namespace

const std::vector<Household::NamedDeed> Household::kEveryday{
    {"somebody uses a pad", &Household::UseAPad},
    {"Home is pressed", &Household::PressHome},
    {"Select and Start are held", &Household::HoldSelectAndStart},
    {"a pad is plugged in", &Household::PlugInAPad},
    {"a pad is unplugged", &Household::UnplugAPad},
    {"pads are plugged in and out", &Household::PlugManyInAndOut},
    {"a battery dies", &Household::BatteryDies},
    {"sticks move wildly", &Household::MoveSticksWildly},
    {"sticks are pushed around", &Household::PushSticksAround},
    {"the service sleeps through a flood", &Household::OverflowAPad},
    {"the service is stopped for a while", &Household::StopForAWhile},
    {"the clock is set", &Household::SetTheClock},
    {"the status is rewritten", &Household::RewriteTheStatus},
};

const std::vector<Household::NamedDeed> Household::kRare{
    {"somebody plays", &Household::PlayAGame},
    {"the desktop is looked at", &Household::LookAtTheDesktop},
    {"somebody writes on the screen", &Household::WriteOnTheScreen},
    {"an application is opened", &Household::OpenAnApplication},
    {"the bus dies", &Household::RestartTheBus},
    {"the display dies", &Household::RestartTheDisplay},
    {"a disk fails", &Household::BreakADisk},
    {"nobody is there", &Household::BeAway},
    {"pads are used and it counts", &Household::ExpectActivityToCount},
};

Household::Household() : memory_(runtime_ / "quorvex"), home_(runtime_ / "state") {}

void Household::Do(const NamedDeed& deed) {
    if (HasFailure()) {
        return;
    }
    Tell(deed.what);
    ++depth_;
    (this->*deed.deed)();
    --depth_;
    Pause(std::chrono::seconds(2));
}

void Household::Tell(const std::string& what) const {
    Say(std::string(static_cast<size_t>(2 * depth_), ' ') + what);
}

void Household::Pause(milliseconds most) {
    std::this_thread::sleep_for(milliseconds(Chance(static_cast<int>(most.count()))));
}

void Household::Meanwhile() {
    for (int deeds = Chance(4); deeds > 0; --deeds) {
        Do(AnyOf(kEveryday));
    }
}

void Household::Settle(Pad& pad) {
    WaitUntilServed(*pad.device, Mode());
    EXPECT_THAT(keys_->Read(SIZE_MAX, milliseconds(0)), IsEmpty());
}

void Household::Owe(const std::vector<Key>& keys) {
    const auto presses = [](const std::vector<Key>& of) {
        return static_cast<size_t>(std::count_if(of.begin(), of.end(), [](const Key& key) { return key.down == 1; }));
    };
    const std::vector<Key> came = keys_->Read(keys.size());
    owed_ += presses(keys);
    arrived_ += presses(came);
    EXPECT_EQ(came, keys);
}

void Household::OweInMenus(const std::vector<Key>& keys) {
    if (!isPlaying_) {
        Owe(keys);
    }
}

int Household::KeyOf(const Control& control) const {
    return control.key == KEY_F5 && status_ != 0 ? kRemotePlaydeck : control.key;
}

Household::Pad& Household::AnyPad(std::optional<int> button) {
    std::vector<size_t> fitting;
    for (size_t i = 0; i < pads_.size(); ++i) {
        if (!button || Has(*pads_[i].device, *button)) {
            fitting.push_back(i);
        }
    }
    if (!fitting.empty()) {
        return pads_[AnyOf(fitting)];
    }
    if (pads_.size() == kMostPads) {
        Unplug(0);
    }
    return pads_.emplace_back(PlugInOne(ControlsOfACommonPad()));
}

const Control& Household::AnyButtonOf(const Pad& pad) {
    std::vector<const Control*> buttons;
    for (const Control& control : pad.controls) {
        if (control.press.type == EV_KEY) {
            buttons.push_back(&control);
        }
    }
    return *AnyOf(buttons);
}

Household::Pad Household::PlugInOne(const std::vector<Control>& controls) {
    Tell("plugged in: " + controls.front().layout().name);
    Pad pad{std::make_unique<UinputPad>(controls.front().layout()), controls};
    Settle(pad);
    return pad;
}

void Household::Unplug(size_t number) {
    const size_t before = service_->Now();
    pads_.erase(pads_.begin() + static_cast<std::ptrdiff_t>(number));
    EXPECT_TRUE(service_->Prints("is destroyed", before)) << service_->Tail();
}

void Household::Press(Pad& pad, const Control& control) {
    pad.device->Send({control.press});
    OweInMenus(Pressed(KeyOf(control)));
}

void Household::Release(Pad& pad, const Control& control) {
    pad.device->Send({control.release});
    OweInMenus(Released(KeyOf(control)));
}

void Household::UseAPad() {
    Pad& pad = AnyPad();
    for (int times = 1 + Chance(6); times > 0; --times) {
        const Control& control = AnyOf(pad.controls);
        Press(pad, control);
        Pause(kAHandHolds);
        Release(pad, control);
    }
    Settle(pad);
}

void Household::PressHome() {
    Pad& pad = AnyPad(BTN_MODE);
    Tell("in status " + std::to_string(status_));
    if (status_ == kHoldsHome && Chance(2) == 0) {
        HoldHome(pad);
    } else {
        pad.device->Press(BTN_MODE);
        std::this_thread::sleep_for(kAHandHolds);
        pad.device->Release(BTN_MODE);
        if (status_ == 0 || status_ == 1) {
            OweInMenus(PressedAndReleased(status_ == 0 ? KEY_F5 : kRemotePlaydeck));
        }
    }
    Settle(pad);
}

void Household::HoldHome(Pad& pad) {
    const auto start = Clock::now();
    pad.device->Press(BTN_MODE);
    OweInMenus(PressedAndReleased(kRemotePlaydeck));
    EXPECT_TRUE(isPlaying_ || Clock::now() - start >= kHomeIsHeld);
    EXPECT_LE(Clock::now() - start, Limit(kHomeIsHeld + 2 * kPass));
    pad.device->Release(BTN_MODE);
}

void Household::HoldSelectAndStart() {
    Pad& pad = AnyPad(BTN_START);
    pad.device->Press(BTN_SELECT);
    const auto start = Clock::now();
    pad.device->Press(BTN_START);
    if (Chance(2) == 0) {
        SetTheClock();
    }
    OweInMenus(PressedAndReleased(KEY_POWER));
    EXPECT_LE(Clock::now() - start, Limit(kHomeIsHeld + 3 * kPass));
    pad.device->Release(BTN_START);
    pad.device->Release(BTN_SELECT);
    Settle(pad);
}

void Household::PlugInAPad() {
    if (pads_.size() < kMostPads) {
        pads_.push_back(PlugInOne(AnyOf(KindsOfPads())));
    }
}

void Household::UnplugAPad() {
    if (!pads_.empty()) {
        Unplug(random_() % pads_.size());
    }
}

// Some are gone before anybody has looked at them. The last one that comes shows that all others were dealt with.
void Household::PlugManyInAndOut() {
    for (int times = 0; times < 3; ++times) {
        std::vector<std::unique_ptr<UinputPad>> pads;
        for (int more = 1 + Chance(3); more > 0; --more) {
            pads.push_back(std::make_unique<UinputPad>(AnyOf(KindsOfPads()).front().layout()));
            Pause(milliseconds(50));
        }
    }
    pads_.push_back(PlugInOne(ControlsOfACommonPad()));
    Unplug(pads_.size() - 1);
}

void Household::BatteryDies() {
    const size_t number = static_cast<size_t>(&AnyPad() - pads_.data());
    Pad& pad = pads_[number];
    const Control control = AnyOf(pad.controls);
    const bool isAsleep = Chance(4) == 0;
    Tell(std::string("with the hand on ") + control.name + (isAsleep ? ", while the service is stopped" : ""));
    Press(pad, control);
    Pause(kAHandHolds);
    if (isAsleep) {
        service_->Signal(SIGSTOP);
    }
    const size_t before = service_->Now();
    pads_.erase(pads_.begin() + static_cast<std::ptrdiff_t>(number));
    Pause(isAsleep ? std::chrono::seconds(3) : milliseconds(1));
    service_->Signal(SIGCONT);
    const auto gone = Clock::now();
    OweInMenus(Released(KeyOf(control)));
    EXPECT_LE(Clock::now() - gone, Limit(2 * kPass));
    EXPECT_TRUE(service_->Prints("is destroyed", before)) << service_->Tail();
}

void Household::MoveSticksWildly() {
    Pad& pad = AnyPad(BTN_MODE);
    Pad& other = AnyOf(pads_);
    for (int times = 0; times < 3; ++times) {
        const Control& control = AnyButtonOf(other);
        CircleSticks(*pad.device, milliseconds(300 + Chance(700)), kWithinTheBand);
        const auto pressed = Clock::now();
        Press(other, control);
        EXPECT_LE(Clock::now() - pressed, Limit(2 * kPass));
        CircleSticks(*pad.device, milliseconds(100 + Chance(300)), kWithinTheBand);
        Release(other, control);
    }
    CentreSticks(*pad.device);
    Settle(pad);
}

// Whole keys and nothing held at the end; which keys is as the looks at the pad fall.
void Household::PushSticksAround() {
    if (isPlaying_) {
        return;
    }
    Pad& pad = AnyPad(BTN_MODE);
    std::thread hands([&] {
        CircleSticks(*pad.device, std::chrono::seconds(1), kAllAround);
        // To an end that no circle reaches, so that the way back is news.
        PutSticks(*pad.device, 32767);
        EXPECT_TRUE(service_->Prints(",3,4,32767]"));
        const size_t before = service_->Now();
        CentreSticks(*pad.device);
        EXPECT_TRUE(service_->Prints(",3,4,0]", before));
        pad.device->Press(BTN_EAST);
    });
    ExpectWholeKeysBefore(KEY_ESC);
    hands.join();
    pad.device->Release(BTN_EAST);
    Owe(Released(KEY_ESC));
    Settle(pad);
}

// The kernel tells of the end of what was held only.
void Household::OverflowAPad() {
    Pad& pad = AnyPad(BTN_MODE);
    const Control& control = AnyButtonOf(pad);
    Press(pad, control);
    service_->Signal(SIGSTOP);
    Overflow(*pad.device);
    pad.device->Send({control.release});
    Overflow(*pad.device);
    service_->Signal(SIGCONT);
    OweInMenus(Released(KeyOf(control)));
    CentreSticks(*pad.device);
    Settle(pad);
}

void Household::StopForAWhile() {
    Pad& pad = AnyPad();
    std::vector<Key> keys;
    service_->Signal(SIGSTOP);
    for (int taps = Chance(4); taps > 0; --taps) {
        const Control& control = AnyButtonOf(pad);
        pad.device->Send({control.press});
        pad.device->Send({control.release});
        keys.insert(keys.end(), {{KeyOf(control), 1}, {KeyOf(control), 0}});
    }
    Tell(std::to_string(keys.size() / 2) + " taps meanwhile");
    if (Chance(2) == 0) {
        SetTheClock();
    }
    Pause(std::chrono::seconds(10));
    service_->Signal(SIGCONT);
    OweInMenus(keys);
    Settle(pad);
}

void Household::SetTheClock() {
    const int hours = (1 + Chance(12)) * (Chance(2) == 0 ? 1 : -1);
    Tell("the clock is set by " + std::to_string(hours) + " h");
    clock_.StepBy(std::chrono::hours(hours));
}

// As a person, a program or a mistake does it. What cannot be understood changes nothing.
void Household::RewriteTheStatus() {
    if (!memory_.IsWell()) {
        return;
    }
    const fs::path file = Setting(kStatusKey);
    const size_t before = service_->Now();
    const int way = Chance(5);
    if (way == 0) {
        Write(file, "scribble " + std::to_string(++scribbles_) + "\n");
        EXPECT_TRUE(service_->Prints("scribble " + std::to_string(scribbles_), before)) << service_->Tail();
        return;
    }
    if (way == 1 && status_ != 0) {
        fs::remove(file);
        status_ = 0;
    } else {
        static const std::vector<int> statuses{0, 1, 2, kHoldsHome};
        const int last = status_;
        while (status_ == last) {
            status_ = AnyOf(statuses);
        }
        const fs::path place = way == 2 ? fs::path(file).replace_extension("new") : file;
        Write(place, (way == 3 ? "int32 " : "") + std::to_string(status_) + "\n");
        fs::rename(place, file);
    }
    Tell("to " + std::to_string(status_));
    EXPECT_TRUE(service_->Prints("Playdeck status is changed", before)) << service_->Tail();
}

// Sometimes the game stays for what comes next.
void Household::PlayAGame() {
    if (game_ == nullptr) {
        StartAGame();
    }
    Meanwhile();
    if (Chance(3) != 0) {
        EndTheGame();
    }
}

void Household::StartAGame() {
    Pad& pad = AnyPad();
    const Control& control = AnyOf(pad.controls);
    const bool isHeld = Chance(2) == 0;
    const int kind = Chance(3);
    static const std::vector<std::string> kinds{"that reads pads", "that GameMode knows", "of both kinds"};
    Tell("a game " + kinds[static_cast<size_t>(kind)] +
         (isHeld ? std::string(", with the hand on ") + control.name : ""));
    if (isHeld) {
        Press(pad, control);
    }
    using Words = std::vector<std::string>;
    game_ = std::make_unique<Window>("Game", kind == 1 ? Words{} : Words{"--pads"},
                                     kind == 0 ? Words{} : Words{"/usr/games/gamemoderun"});
    isKnownToGameModeOnly_ = kind == 1;
    WaitUntilServed(*pad.device, kGameMode);
    if (isHeld) {
        Release(pad, control);
    }
    isPlaying_ = true;
    Settle(pad);
}

void Household::EndTheGame() {
    const int signal = Chance(2) == 0 ? SIGKILL : SIGTERM;
    Tell(signal == SIGKILL ? "the game crashes" : "the game ends");
    game_->Process().Signal(signal);
    EXPECT_TRUE(game_->Process().ExitStatus());
    game_.reset();
    WaitForTheMenu();
    EXPECT_TRUE(menu_->WaitForFocus());
}

void Household::WaitForTheMenu() {
    isPlaying_ = false;
    Settle(AnyPad());
}

void Household::LookAtTheDesktop() {
    if (game_ == nullptr) {
        StartAGame();
    }
    SwitchWindows();
    EXPECT_TRUE(menu_->WaitForFocus()) << menu_->Process().Tail(20) << game_->Process().Tail(20);
    WaitForTheMenu();
    Meanwhile();
    SwitchWindows();
    EXPECT_TRUE(game_->WaitForFocus());
    isPlaying_ = true;
    Settle(AnyPad());
}

void Household::WriteOnTheScreen() {
    const bool wasPlaying = isPlaying_;
    session_.ShowKeyboard(true);
    WaitForTheMenu();
    Meanwhile();
    session_.ShowKeyboard(false);
    isPlaying_ = wasPlaying;
    Settle(AnyPad());
}

// A bound button is no game's.
void Household::OpenAnApplication() {
    Pad& pad = AnyPad(BTN_MODE);
    pad.device->Press(BTN_TR);
    Owe(PressedAndReleased(KEY_F9));
    pad.device->Release(BTN_TR);
    const size_t before = service_->Now();
    pad.device->Press(BTN_NORTH);
    EXPECT_TRUE(service_->Prints("Finish getting AppID", before)) << service_->Tail();
    pad.device->Release(BTN_NORTH);
    Settle(pad);
}

// What only GameMode knows is forgotten with it.
void Household::RestartTheBus() {
    if (game_ != nullptr && isKnownToGameModeOnly_) {
        EndTheGame();
    }
    const size_t before = service_->Now();
    session_.KillBus();
    EXPECT_TRUE(service_->Prints("session bus: not there", before)) << service_->Tail();
    Meanwhile();
    Tell("a bus is there");
    session_.StartBus();
    EXPECT_TRUE(service_->Prints("session bus: there", before)) << service_->Tail();
    Settle(AnyPad());
}

void Household::RestartTheDisplay() {
    const size_t before = service_->Now();
    session_.KillDisplay(Chance(2) == 0 ? SIGKILL : SIGTERM);
    EXPECT_TRUE(service_->Prints("X display :0: not there", before)) << service_->Tail();
    game_.reset();
    menu_.reset();
    WaitForTheMenu();
    Meanwhile();
    PlayOnTheConsole();
    Tell("a display is there");
    session_.StartDisplay();
    EXPECT_TRUE(service_->Prints("X display :0: there", before)) << service_->Tail();
    EXPECT_TRUE(session_.WaitUntilRead(keys_->Node()) && session_.WaitUntilRead(keyboard_.Node()));
    menu_ = std::make_unique<Window>("Menu");
    Settle(AnyPad());
}

// Without windows whatever has a pad open is what somebody plays.
void Household::PlayOnTheConsole() {
    Pad& pad = AnyPad();
    Tell("a game on the console");
    Program game({"sh", "-c", "exec sleep 1000 <" + pad.device->Node()});
    isPlaying_ = true;
    Settle(pad);
    UseAPad();
    game.Kill();
    WaitForTheMenu();
}

// The service reads its settings from both and writes to one of them.
void Household::BreakADisk() {
    const bool isMemory = Chance(2) == 0;
    const bool isFull = Chance(2) == 0;
    Disk& disk = isMemory ? memory_ : home_;
    Tell(std::string(isMemory ? "the runtime directory" : "the home") + (isFull ? " is full" : " is read-only"));
    if (isFull) {
        disk.Fill();
    } else {
        disk.MakeReadOnly();
    }
    const size_t before = service_->Now();
    clock_.CatchUp();
    UseAPad();
    if (isMemory) {
        EXPECT_TRUE(service_->Prints("failed", before, kActivityCycle)) << service_->Tail();
    }
    Meanwhile();
    disk.Repair();
    ExpectActivityToCount();
}

void Household::BeAway() {
    std::this_thread::sleep_for(std::chrono::seconds(Chance(2) == 0 ? kUntilTheScreensaver : Chance(20)));
    UseAPad();
}

// The service's half minute is one of the time of day.
void Household::ExpectActivityToCount() {
    clock_.CatchUp();
    const int before = Activity();
    UseAPad();
    EXPECT_TRUE(Until([&] { return Activity() > before; }, kActivityCycle, milliseconds(200))) << before << '\n'
                                                                                               << service_->Tail();
}

void Household::UseEverythingOnce() {
    Write(Setting(kStatusKey), std::to_string(kHoldsHome) + "\n");
    EXPECT_TRUE(service_->Prints("Playdeck status is changed"));
    status_ = kHoldsHome;
    while (pads_.size() < kMostPads) {
        pads_.push_back(PlugInOne(ControlsOfACommonPad()));
        HoldHome(pads_.back());
    }
    HoldSelectAndStart();
}

void Household::Rest() {
    if (game_ != nullptr) {
        EndTheGame();
    }
    while (!pads_.empty()) {
        Unplug(0);
    }
    Settle(AnyPad());
    EXPECT_THAT(keys_->HeldKeys(), IsEmpty());
}
