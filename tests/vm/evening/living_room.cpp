#include "living_room.h"

#include <fstream>
#include <iostream>

namespace fs = std::filesystem;

namespace {

constexpr milliseconds kHandHolds{300};

constexpr char kBindings[] = R"({"global_config": [{"key_code": 5, "runtitle": "Star Quest", "virtual_key": 75},)"
                             R"( {"key_code": 3, "runtitle": "Unheard Of", "virtual_key": 76}]})";
constexpr char kApplication[] = "[Desktop Entry]\nType=Application\nName=Star Quest\nExec=sh\n";

PadLayout Keyboard() {
    return {"Keyboard of a person", BUS_USB, 0x1234, 0x0001, 0x0110, {KEY_LEFTALT, KEY_TAB}, {}};
}

}  // namespace

LivingRoom::LivingRoom() : keyboard_(Keyboard()), session_(runtime_) {}

void LivingRoom::SetUp() {
    Write(runtime_ / "config/quorvex/accessory/app_config.json", kBindings);
    Write(runtime_ / "data/applications/star-quest.desktop", kApplication);
    Write(Setting("db/menu/homeview/homedatacontrol/defaultdisclaimeragree"), "1\n");
    session_.StartBus();
    menu_ = std::make_unique<Window>("Menu");
    Start();
    ASSERT_TRUE(session_.WaitUntilRead(keys_->Node()));
}

ServiceOptions LivingRoom::Options() const {
    ServiceOptions options;
    options.environment = SessionEnvironment();
    options.environment.emplace_back("QUORVEX_LOG=info");
    return options;
}

void LivingRoom::Write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

fs::path LivingRoom::Setting(const std::string& key) const {
    return runtime_ / (key.rfind("memory/", 0) == 0 ? "quorvex" : "state/quorvex") / key;
}

int LivingRoom::Activity() const {
    std::string type;
    int count = -1;
    std::ifstream(Setting("memory/accessory/gamepad_active")) >> type >> count;
    return count;
}

void LivingRoom::Say(const std::string& what) {
    const std::chrono::duration<double> time = Clock::now().time_since_epoch();
    std::cout << "   " << time.count() << " s  " << what << std::endl;
}

// The window manager takes up its keys anew when another keyboard is used, and would not notice that a key goes up
// before it has begun to look.
void LivingRoom::SwitchWindows() {
    keyboard_.Press(KEY_LEFTALT);
    std::this_thread::sleep_for(kHandHolds);
    keyboard_.Press(KEY_TAB);
    std::this_thread::sleep_for(kHandHolds);
    keyboard_.Release(KEY_TAB);
    keyboard_.Release(KEY_LEFTALT);
}
