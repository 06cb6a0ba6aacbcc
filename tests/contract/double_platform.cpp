#include "FakePlatform.h"
#include "platform_under_test.h"

namespace {

constexpr char kPad[] = "pad";
constexpr int kButton = 0;

StoreAnswer Unknown() {
    StoreAnswer answer;
    answer.status = 1;
    answer.appId = "";
    return answer;
}

}  // namespace

/// The suite does on purpose what the double reports.
struct PlatformUnderTest::Surroundings {
    Surroundings() {
        platform.AllowViolations();
        platform.AllowErrors();
        platform.AllowAsserts();
        platform.SetStoreAnswer(Unknown());
    }
    FakePlatform platform;
    int lastGame = 1000;
};

PlatformUnderTest::PlatformUnderTest() : surroundings_(std::make_unique<Surroundings>()) {}
PlatformUnderTest::~PlatformUnderTest() = default;

void PlatformUnderTest::PlugPad() {
    surroundings_->platform.Connect(kPad);
}
void PlatformUnderTest::UnplugPad() {
    surroundings_->platform.Disconnect(kPad);
}
void PlatformUnderTest::PressAndRelease() {
    surroundings_->platform.PressButton(kPad, kButton);
    surroundings_->platform.ReleaseButton(kPad, kButton);
}
void PlatformUnderTest::Install(const std::string& title) {
    surroundings_->platform.SetStoreAnswer(title, StoreAnswer{});
}
void PlatformUnderTest::StartSession() {}
void PlatformUnderTest::OpenGame() {
    const int pid = ++surroundings_->lastGame;
    surroundings_->platform.SetGameApps(std::to_string(pid));
    surroundings_->platform.SendGameAppNotice(GAMEAPP_OPENED, pid);
    surroundings_->platform.SendAppStatus(pid, 5);
}
void PlatformUnderTest::EnterStandby() {
    surroundings_->platform.SetPowerState(2);
    surroundings_->platform.SendStandby();
}
void PlatformUnderTest::ShowScreensaver() {
    surroundings_->platform.SetBool("memory/window_system/screensaver_on_off", true);
}
