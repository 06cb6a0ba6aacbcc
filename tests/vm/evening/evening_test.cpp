// An evening in the living room: one session, one service, one pad, from the first menu to the last.
#include <signal.h>

#include <algorithm>
#include <atomic>

#include "living_room.h"

namespace {

constexpr std::chrono::seconds kUntilTheScreensaver{5 * Session::kIdleSeconds};
constexpr milliseconds kBetweenPresses{20};

class Evening : public LivingRoom {
protected:
    void SetUp() override {
        LivingRoom::SetUp();
        pad_ = PlugIn();
        Say("the evening begins");
    }

    void ExpectMode(const char* mode) { WaitUntilServed(*pad_, mode); }

    /// What the pad does becomes this key, and the window gets it.
    void ExpectKey(int key, Window& window, const Change& press, const Change& release) {
        pad_->Send({press});
        ExpectKeys(Pressed(key));
        pad_->Send({release});
        ExpectKeys(Released(key));
        EXPECT_EQ(window.Keys(2), PressedAndReleased(key));
    }
    void ExpectButton(int button, int key, Window& window) {
        ExpectKey(key, window, {EV_KEY, button, 1}, {EV_KEY, button, 0});
    }

    /// The game gets the button, and nothing else anything.
    void ExpectGameHasThePad(Window& game) {
        const size_t before = service_->Now();
        pad_->Press(BTN_SOUTH);
        EXPECT_TRUE(game.Prints("pad a 1")) << game.Process().Tail();
        EXPECT_TRUE(service_->Prints(",1,0,1]", before)) << service_->Tail();
        pad_->Release(BTN_SOUTH);
        EXPECT_TRUE(game.Prints("pad a 0")) << game.Process().Tail();
        EXPECT_TRUE(service_->Prints(",1,0,0]", before)) << service_->Tail();
        EXPECT_THAT(keys_->Read(1, milliseconds(0)), IsEmpty());
    }

    // The button is none of the remote's: no key ends the screensaver in its stead.
    void ExpectScreensaverThatAButtonEnds() {
        const auto on = service_->Find("screensaver is ON", screensaverPlace_, kUntilTheScreensaver);
        ASSERT_TRUE(on) << service_->Tail();
        pad_->Press(BTN_TL);
        const auto off = service_->Find("screensaver is NOT ON", *on);
        ASSERT_TRUE(off) << service_->Tail();
        screensaverPlace_ = *off;
        pad_->Release(BTN_TL);
    }

public:
    void DriveTheMenu();
    void StartTheGame();
    void PlayForMinutes();
    void WriteOnTheScreen();
    void LookAtTheDesktop();
    void RestartTheBus();
    void KillTheGame();
    void PlayWhatReadsNoPad();
    void OpenAnApplication();
    void LeaveTheRoom();
    void StandBy();

private:
    std::unique_ptr<Window> game_;
    size_t screensaverPlace_ = 0;  ///< of what is known of it in the service's output
    std::unique_ptr<UinputPad> pad_;
};

void Evening::DriveTheMenu() {
    ExpectKey(KEY_RIGHT, *menu_, {EV_ABS, ABS_HAT0X, 1}, {EV_ABS, ABS_HAT0X, 0});
    ExpectKey(KEY_DOWN, *menu_, {EV_ABS, ABS_Y, 32767}, {EV_ABS, ABS_Y, 0});
    ExpectButton(BTN_SOUTH, KEY_ENTER, *menu_);
    ExpectButton(BTN_EAST, KEY_ESC, *menu_);
}

// Somebody cannot wait and keeps pressing while the game comes up.
void Evening::StartTheGame() {
    std::atomic<bool> isUp{false};
    std::thread hands([&] {
        for (int side = 1; !isUp || side != 1; side = 1 - side) {
            pad_->Move(ABS_HAT0X, side);
            std::this_thread::sleep_for(kBetweenPresses);
        }
    });
    game_ = std::make_unique<Window>("Game", std::vector<std::string>{"--pads"},
                                     std::vector<std::string>{"/usr/games/gamemoderun"});
    EXPECT_TRUE(service_->Prints(kGameMode));
    isUp = true;
    hands.join();
    ExpectMode(kGameMode);
    const std::vector<Key> keys = keys_->Read(SIZE_MAX, milliseconds(0));
    ASSERT_FALSE(keys.empty()) << "nothing was pressed before the game was there";
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(keys[i], (Key{KEY_RIGHT, i % 2 == 0 ? 1 : 0}));
    }
    EXPECT_EQ(keys.size() % 2, 0U) << "a key stays held";
    EXPECT_LE(keys.back().time - game_->Focused(), Limit(kPass));
    const std::vector<Key> inMenu = menu_->KeysUntilFocusIsLost();
    ASSERT_LE(inMenu.size(), keys.size());
    EXPECT_TRUE(std::equal(inMenu.begin(), inMenu.end(), keys.begin())) << testing::PrintToString(inMenu);
}

// For twice as long as the screensaver would wait.
void Evening::PlayForMinutes() {
    const int activity = Activity();
    for (int i = 0; i < 8; ++i) {
        ExpectGameHasThePad(*game_);
        std::this_thread::sleep_for(std::chrono::seconds(15));
    }
    EXPECT_GT(Activity(), activity);
    EXPECT_EQ(service_->Count("screensaver is ON"), 0U);
}

void Evening::WriteOnTheScreen() {
    session_.ShowKeyboard(true);
    ExpectMode(kMenuMode);
    ExpectKey(KEY_LEFT, *game_, {EV_ABS, ABS_HAT0X, -1}, {EV_ABS, ABS_HAT0X, 0});
    session_.ShowKeyboard(false);
    ExpectMode(kGameMode);
    ExpectGameHasThePad(*game_);
}

void Evening::LookAtTheDesktop() {
    SwitchWindows();
    ASSERT_TRUE(menu_->WaitForFocus());
    ExpectMode(kMenuMode);
    ExpectKey(KEY_UP, *menu_, {EV_ABS, ABS_HAT0Y, -1}, {EV_ABS, ABS_HAT0Y, 0});
    SwitchWindows();
    ASSERT_TRUE(game_->WaitForFocus());
    ExpectMode(kGameMode);
    ExpectGameHasThePad(*game_);
}

// GameMode has forgotten the game then; it is one all the same, since it reads the pad.
void Evening::RestartTheBus() {
    const size_t before = service_->Now();
    session_.KillBus();
    EXPECT_TRUE(service_->Prints("session bus: not there", before)) << service_->Tail();
    ExpectGameHasThePad(*game_);
    session_.StartBus();
    EXPECT_TRUE(service_->Prints("session bus: there", before)) << service_->Tail();
    ExpectGameHasThePad(*game_);
    WriteOnTheScreen();
}

void Evening::KillTheGame() {
    game_->Process().Signal(SIGKILL);
    const auto killed = Clock::now();
    ExpectMode(kMenuMode);
    EXPECT_LE(Clock::now() - killed, Limit(std::chrono::seconds(1)));
    game_.reset();
    ASSERT_TRUE(menu_->WaitForFocus());
    DriveTheMenu();
}

// Of this one only GameMode knows.
void Evening::PlayWhatReadsNoPad() {
    Window game("Chess", {}, {"/usr/games/gamemoderun"});
    ExpectMode(kGameMode);
    const size_t before = service_->Now();
    pad_->Press(BTN_SOUTH);
    pad_->Release(BTN_SOUTH);
    EXPECT_TRUE(service_->Prints(",1,0,0]", before)) << service_->Tail();
    game.Process().Signal(SIGTERM);
    EXPECT_EQ(game.Process().ExitStatus(), 0);
    ExpectMode(kMenuMode);
    ASSERT_TRUE(menu_->WaitForFocus());
    DriveTheMenu();
}

void Evening::OpenAnApplication() {
    pad_->Press(BTN_TR);
    ExpectKeys(PressedAndReleased(KEY_F9));
    EXPECT_EQ(menu_->Keys(2), PressedAndReleased(KEY_F9));
    pad_->Release(BTN_TR);
    const size_t before = service_->Now();
    pad_->Press(BTN_NORTH);
    EXPECT_TRUE(service_->Prints("Finish getting AppID", before)) << service_->Tail();
    pad_->Release(BTN_NORTH);
    DriveTheMenu();
}

void Evening::LeaveTheRoom() {
    ExpectScreensaverThatAButtonEnds();
    DriveTheMenu();
    Session::ShowScreensaver();
    ExpectScreensaverThatAButtonEnds();
    DriveTheMenu();
}

void Evening::StandBy() {
    Session::SwitchDisplayOff();
    const size_t off = service_->Now();
    pad_->Press(BTN_TL);
    pad_->Release(BTN_TL);
    EXPECT_TRUE(service_->Prints("Call[screensaver_reset]", off, kActivityCycle)) << service_->Tail();
    EXPECT_FALSE(Session::IsDisplayOn()) << "a pad that may not wake the machine has done it";
    const size_t before = service_->Now();
    Write(Setting("db/menu/connection/easy-wakeup"), "1\n");
    ASSERT_TRUE(service_->Prints("standby: begins", before)) << service_->Tail();
    EXPECT_FALSE(Session::IsDisplayOn());
    pad_->Press(BTN_TL);
    EXPECT_TRUE(service_->Prints("[Easy Wakeup]enabled. wakeup TV", before)) << service_->Tail();
    EXPECT_TRUE(service_->Prints("standby: ends", before)) << service_->Tail();
    EXPECT_TRUE(Session::IsDisplayOn());
    pad_->Release(BTN_TL);
    DriveTheMenu();
}

TEST_F(Evening, GoesByItsScript) {
    const std::vector<std::pair<const char*, void (Evening::*)()>> script{
        {"the menu is driven by the pad", &Evening::DriveTheMenu},
        {"a game starts", &Evening::StartTheGame},
        {"the game is played", &Evening::PlayForMinutes},
        {"the on-screen keyboard comes and goes", &Evening::WriteOnTheScreen},
        {"the desktop is looked at", &Evening::LookAtTheDesktop},
        {"the bus is restarted", &Evening::RestartTheBus},
        {"the game is killed", &Evening::KillTheGame},
        {"a game is played that reads no pad", &Evening::PlayWhatReadsNoPad},
        {"an application is opened", &Evening::OpenAnApplication},
        {"somebody leaves the room", &Evening::LeaveTheRoom},
        {"the display is off", &Evening::StandBy},
    };
    for (const auto& [what, scene] : script) {
        SCOPED_TRACE(what);
        Say(what);
        (this->*scene)();
        ASSERT_FALSE(HasFailure());
    }
}

}  // namespace
