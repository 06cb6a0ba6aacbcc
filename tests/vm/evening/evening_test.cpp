// An evening in the living room: one session, one service, one pad, from the first menu to the last.
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iostream>

#include "../remote_test.h"
#include "session.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kMenuMode = ", [MenuMode]";
constexpr const char* kGameMode = ", [NOT MenuMode]";
// A pass is a pause of 50 ms and what it has to do.
constexpr milliseconds kPass{100};
// Twice the longest time until the service tells of a pad's use.
constexpr std::chrono::seconds kActivityCycle{60};
constexpr std::chrono::seconds kUntilTheScreensaver{5 * Session::kIdleSeconds};
constexpr milliseconds kBetweenPresses{20};
constexpr milliseconds kHandHolds{300};

// The pad's right shoulder opens an application that is there, its upper face button one that nobody knows.
constexpr char kBindings[] = R"({"global_config": [{"key_code": 5, "runtitle": "Star Quest", "virtual_key": 75},)"
                             R"( {"key_code": 3, "runtitle": "Unheard Of", "virtual_key": 76}]})";
constexpr char kApplication[] = "[Desktop Entry]\nType=Application\nName=Star Quest\nExec=sh\n";

PadLayout Keyboard() {
    return {"Keyboard of a person", BUS_USB, 0x1234, 0x0001, 0x0110, {KEY_LEFTALT, KEY_TAB}, {}};
}

class LivingRoom : public RemoteTest {
protected:
    LivingRoom() : keyboard_(Keyboard()), session_(runtime_) {}

    void SetUp() override {
        Write(runtime_ / "config/quorvex/accessory/app_config.json", kBindings);
        Write(runtime_ / "data/applications/star-quest.desktop", kApplication);
        Write(Setting("db/menu/homeview/homedatacontrol/defaultdisclaimeragree"), "1\n");
        session_.StartBus();
        menu_ = std::make_unique<Window>("Menu");
        Start();
        pad_ = PlugIn();
        ASSERT_TRUE(session_.WaitUntilRead(keys_->Node()));
        Say("the evening begins");
    }

    ServiceOptions Options() const override {
        ServiceOptions options;
        options.environment = SessionEnvironment();
        options.environment.emplace_back("QUORVEX_LOG=info");
        return options;
    }

    static void Write(const fs::path& file, const std::string& text) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    fs::path Setting(const std::string& key) const {
        return runtime_ / (key.rfind("memory/", 0) == 0 ? "quorvex" : "state/quorvex") / key;
    }

    /// A line with the time, which shows how far an evening has come.
    void Say(const std::string& what) const {
        const std::chrono::duration<double> time = Clock::now().time_since_epoch();
        std::cout << "   " << time.count() << " s  " << what << std::endl;
    }

    /// Moves the stick a little until the service says that it has read this in the given mode.
    void ExpectMode(const char* mode) {
        const Axis stick = pad_->Layout().AxisOf(ABS_X);
        int nudge = stick.maximum / 5;
        const size_t before = service_->Now();
        const bool reached = Until([&] {
            const size_t now = service_->Now();
            pad_->Move(ABS_X, nudge);
            nudge = -nudge;
            const auto event = service_->Find(",3,0,", now, milliseconds(200));
            return event && service_->Line(",3,0,", *event).find(mode) != std::string::npos;
        });
        ASSERT_TRUE(reached) << mode << '\n' << service_->Tail();
        pad_->Move(ABS_X, stick.Centre());
        ASSERT_TRUE(service_->Prints(",3,0,0]", before)) << service_->Tail();
    }

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

    // The window manager would not notice that a key goes up before it has begun to look.
    void SwitchWindows() {
        keyboard_.Press(KEY_LEFTALT);
        keyboard_.Press(KEY_TAB);
        std::this_thread::sleep_for(kHandHolds);
        keyboard_.Release(KEY_TAB);
        keyboard_.Release(KEY_LEFTALT);
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

    int Activity() const {
        std::string type;
        int count = -1;
        std::ifstream(Setting("memory/accessory/gamepad_active")) >> type >> count;
        return count;
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
    UinputPad keyboard_;
    Session session_;
    std::unique_ptr<Window> menu_;
    std::unique_ptr<Window> game_;
    size_t screensaverPlace_ = 0;  ///< of what is known of it in the service's output
    std::unique_ptr<UinputPad> pad_;
};

void LivingRoom::DriveTheMenu() {
    ExpectKey(KEY_RIGHT, *menu_, {EV_ABS, ABS_HAT0X, 1}, {EV_ABS, ABS_HAT0X, 0});
    ExpectKey(KEY_DOWN, *menu_, {EV_ABS, ABS_Y, 32767}, {EV_ABS, ABS_Y, 0});
    ExpectButton(BTN_SOUTH, KEY_ENTER, *menu_);
    ExpectButton(BTN_EAST, KEY_ESC, *menu_);
}

// Somebody cannot wait and keeps pressing while the game comes up.
void LivingRoom::StartTheGame() {
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
void LivingRoom::PlayForMinutes() {
    const int activity = Activity();
    for (int i = 0; i < 8; ++i) {
        ExpectGameHasThePad(*game_);
        std::this_thread::sleep_for(std::chrono::seconds(15));
    }
    EXPECT_GT(Activity(), activity);
    EXPECT_EQ(service_->Count("screensaver is ON"), 0U);
}

void LivingRoom::WriteOnTheScreen() {
    session_.ShowKeyboard(true);
    ExpectMode(kMenuMode);
    ExpectKey(KEY_LEFT, *game_, {EV_ABS, ABS_HAT0X, -1}, {EV_ABS, ABS_HAT0X, 0});
    session_.ShowKeyboard(false);
    ExpectMode(kGameMode);
    ExpectGameHasThePad(*game_);
}

void LivingRoom::LookAtTheDesktop() {
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
void LivingRoom::RestartTheBus() {
    const size_t before = service_->Now();
    session_.KillBus();
    EXPECT_TRUE(service_->Prints("session bus: not there", before)) << service_->Tail();
    ExpectGameHasThePad(*game_);
    session_.StartBus();
    EXPECT_TRUE(service_->Prints("session bus: there", before)) << service_->Tail();
    ExpectGameHasThePad(*game_);
    WriteOnTheScreen();
}

void LivingRoom::KillTheGame() {
    game_->Process().Signal(SIGKILL);
    const auto killed = Clock::now();
    ExpectMode(kMenuMode);
    EXPECT_LE(Clock::now() - killed, Limit(std::chrono::seconds(1)));
    game_.reset();
    ASSERT_TRUE(menu_->WaitForFocus());
    DriveTheMenu();
}

// Of this one only GameMode knows.
void LivingRoom::PlayWhatReadsNoPad() {
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

void LivingRoom::OpenAnApplication() {
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

void LivingRoom::LeaveTheRoom() {
    ExpectScreensaverThatAButtonEnds();
    DriveTheMenu();
    Session::ShowScreensaver();
    ExpectScreensaverThatAButtonEnds();
    DriveTheMenu();
}

void LivingRoom::StandBy() {
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

TEST_F(LivingRoom, HasAnEveningByItsScript) {
    const std::vector<std::pair<const char*, void (LivingRoom::*)()>> script{
        {"the menu is driven by the pad", &LivingRoom::DriveTheMenu},
        {"a game starts", &LivingRoom::StartTheGame},
        {"the game is played", &LivingRoom::PlayForMinutes},
        {"the on-screen keyboard comes and goes", &LivingRoom::WriteOnTheScreen},
        {"the desktop is looked at", &LivingRoom::LookAtTheDesktop},
        {"the bus is restarted", &LivingRoom::RestartTheBus},
        {"the game is killed", &LivingRoom::KillTheGame},
        {"a game is played that reads no pad", &LivingRoom::PlayWhatReadsNoPad},
        {"an application is opened", &LivingRoom::OpenAnApplication},
        {"somebody leaves the room", &LivingRoom::LeaveTheRoom},
        {"the display is off", &LivingRoom::StandBy},
    };
    for (const auto& [what, scene] : script) {
        SCOPED_TRACE(what);
        Say(what);
        (this->*scene)();
        ASSERT_FALSE(HasFailure());
    }
}

}  // namespace
