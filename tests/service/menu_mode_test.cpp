// Menu mode: who switches it, what a switch waits for, and what it means for the events that follow.

#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "running_service.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kGame = 123;
constexpr int kMenu = 5;

class MenuMode : public RunningService {
protected:
    void Prepare() override { platform.AddPad("pad"); }
    void SetUp() override {
        RunningService::SetUp();
        platform.SendGameAppNotice(GAMEAPP_OPENED, kGame);
        ASSERT_TRUE(platform.WaitUntilNoticesTold());
    }
    void Handle(int type, int code, int value) {
        platform.PushEvent("pad", type, code, value);
        ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    }
    static GamepadEventDispatcher& Dispatcher() { return *Singleton<GamepadEventDispatcher>::GetInstance(); }
};

TEST_F(MenuMode, IsOnAtFirst) {
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Get a event[1,1,0,1], [MenuMode]"));
}

TEST_F(MenuMode, EndsAndComesBackWithTheFocus) {
    Focus(kGame);
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "Get a event[1,1,0,1], [NOT MenuMode]"));
    Focus(kMenu);
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(MenuMode, ThatIsOnCannotBeStartedAgain) {
    Focus(kMenu);
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: StartMenuMode", "Menu Mode has started already!"));
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
}

TEST_F(MenuMode, ThatIsOffCannotBeStoppedAgain) {
    Focus(kGame);
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "Menu Mode has been stopped already!"));
    Focus(kGame);
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: StopMenuMode", "Menu Mode has been stopped already!"));
    Handle(1, 0, 1);
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(MenuMode, IsSwitchedInSilence) {
    const size_t before = platform.LogLines().size();
    Dispatcher().StopMenuMode();
    Dispatcher().StartMenuMode();
    EXPECT_EQ(platform.LogLines().size(), before);
}

TEST_F(MenuMode, IsNoMatterForTheGamepadService) {
    const int opened = platform.CallCount("gamepad_open_for_custom_mode");
    Focus(kGame);
    Focus(kMenu);
    EXPECT_EQ(platform.CallCount("gamepad_open_for_custom_mode"), opened);
    EXPECT_EQ(platform.CallCount("gamepad_close"), 0);
}

TEST_F(MenuMode, EndingKeepsAHeldKeyDownUntilTheNextEvent) {
    Handle(1, 0, 1);
    Focus(kGame);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(36)));
    Handle(1, 7, 1);
    EXPECT_THAT(platform.TakeKeys(), ElementsAre(Released(36)));
}

// ---- What a switch waits for

TEST_F(MenuMode, IsSwitchedInTheMiddleOfAPass) {
    Door door;
    platform.OnCall("gamepad_get_events", door.CallHook());
    ASSERT_TRUE(door.WaitForVisitor());  // the device lock is held
    Dispatcher().StopMenuMode();
    Dispatcher().StartMenuMode();
    Dispatcher().StopMenuMode();
    platform.PressButton("pad", 0);
    door.Open();
    ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    EXPECT_THAT(platform.TakeKeys(), IsEmpty());
}

TEST_F(MenuMode, IsNotSwitchedWhileAnEventIsHandled) {
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.PressButton("pad", 0);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendAppStatus(kGame, 5);
    ASSERT_TRUE(platform.WaitForLog("There is game app is actived, stop menu mode"));
    EXPECT_FALSE(platform.WaitUntilAppStatusTold(kForAWhile));
    door.Open();
    EXPECT_TRUE(platform.WaitUntilAppStatusTold());
}

TEST_F(MenuMode, IsNotSwitchedWhileHomeIsHandled) {
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.PressButton("pad", 14);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendAppStatus(kGame, 5);
    EXPECT_FALSE(platform.WaitUntilAppStatusTold(kForAWhile));
    door.Open();
    EXPECT_TRUE(platform.WaitUntilAppStatusTold());
}

TEST_F(MenuMode, IsNotSwitchedWhileAHeldKeyIsReleased) {
    Handle(1, 0, 1);
    Focus(kGame);
    Door door;
    platform.OnCall("VirtualKey_Send_KeyCode", door.CallHook());
    platform.ReleaseButton("pad", 0);
    ASSERT_TRUE(door.WaitForVisitor());
    platform.SendAppStatus(kMenu, 5);
    EXPECT_FALSE(platform.WaitUntilAppStatusTold(kForAWhile));
    door.Open();
    EXPECT_TRUE(platform.WaitUntilAppStatusTold());
}

TEST_F(MenuMode, MayBeSwitchedFromManyThreadsWhileEventsAreHandled) {
    constexpr int kSwitches = 300;
    for (int i = 0; i < kSwitches; ++i) {
        platform.SendAppStatus(i % 2 == 0 ? kGame : kMenu, 5);
        platform.SendGameAppNotice(i % 2 == 0 ? GAMEAPP_CLOSED : GAMEAPP_OPENED, kGame);
        platform.PushEvent("pad", 1, 0, i % 2);
        Dispatcher().StartMenuMode();
    }
    ASSERT_TRUE(platform.WaitUntilHandled("pad"));
    ASSERT_TRUE(platform.WaitUntilDelivered());
    Focus(kMenu);
    Handle(1, 0, 0);
    EXPECT_THAT(platform.KeysDown(), IsEmpty());
}

}  // namespace
