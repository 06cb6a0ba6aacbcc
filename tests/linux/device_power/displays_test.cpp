#include <gmock/gmock.h>

#include "model_compositor.h"
#include "platform/vconf.h"
#include "power_session.h"
#include "private_sway.h"
#include "private_x_server.h"

namespace {

using testing::ElementsAre;

class AWaylandSession : public PowerSession {
protected:
    void Start(size_t outputs) {
        compositor_ = std::make_unique<ModelCompositor>(settings_.Root() + "/wayland", outputs);
        Subscribe();
        ASSERT_TRUE(WaitUntil([&] { return compositor_->Controlled() == outputs; }));
    }
    void TearDown() override {
        PowerSession::TearDown();
        compositor_.reset();
    }

    std::unique_ptr<ModelCompositor> compositor_;
};

TEST_F(AWaylandSession, StandsByWithItsOutputsPoweredDown) {
    Start(1);
    compositor_->SetPower(0, false);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    compositor_->SetPower(0, true);
    EXPECT_TRUE(StateBecomes(0));
    EXPECT_THAT(notes_.States(), ElementsAre(2));
}

TEST_F(AWaylandSession, StandsByOnlyWhenTheLastOutputIsOff) {
    Start(2);
    compositor_->SetPower(0, false);
    compositor_->SetPower(0, true);
    compositor_->SetPower(1, false);
    EXPECT_EQ(device_power_get_state(), 0);
    compositor_->SetPower(0, false);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_THAT(notes_.States(), ElementsAre(2));
}

TEST_F(AWaylandSession, StandsByWhenTheOutputThatIsOnIsUnplugged) {
    Start(2);
    compositor_->SetPower(0, false);
    compositor_->Remove(1);
    EXPECT_TRUE(notes_.WaitForCalls(1));
    EXPECT_TRUE(WaitUntil([&] { return compositor_->Controlled() == 1; }));
}

TEST_F(AWaylandSession, IsWoken) {
    Start(2);
    compositor_->SetPower(0, false);
    compositor_->SetPower(1, false);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_EQ(device_power_set_wakeup_reason(1), 0);
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    EXPECT_TRUE(StateBecomes(0));
    EXPECT_TRUE(compositor_->IsOn(0));
    EXPECT_TRUE(compositor_->IsOn(1));
}

TEST_F(AWaylandSession, IsOnWhenItsCompositorRefusesUs) {
    Start(1);
    compositor_->SetPower(0, false);
    ASSERT_TRUE(notes_.WaitForCalls(1));
    compositor_->Refuse();
    EXPECT_TRUE(StateBecomes(0));
}

// Its outputs cannot be powered down without a screen, so only what is asked of it is seen here.
TEST_F(PowerSession, InSwayControlsItsOutputsAndSurvivesItsRestart) {
    PrivateSway sway;
    sway.Start();
    Subscribe();
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    OutputOf("swaymsg create_output");
    sway.Kill();
    sway.Start();
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    EXPECT_EQ(device_power_get_state(), 0);
    TearDown();
}

/// The interface of GNOME's compositor, whose displays are switched through a property.
class AMutterSession : public PowerSession {
protected:
    AMutterSession() {
        sessionBus_.Start();
        Start();
    }
    void Start() {
        mutter_ = std::make_unique<Program>(std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--session",
                                                                     kName, "/org/gnome/Mutter/DisplayConfig", kName});
        ASSERT_TRUE(WaitUntil([] {
            Call(std::string("org.freedesktop.DBus.Mock.AddProperty ") + kName + " PowerSaveMode '<0>'");
            return Mode() == "(<0>,)";
        }));
    }
    static std::string Call(const std::string& methodAndArguments) {
        return OutputOf(std::string("gdbus call --session --dest ") + kName +
                        " --object-path /org/gnome/Mutter/DisplayConfig --method " + methodAndArguments);
    }
    static void SetMode(int mode) {
        Call(std::string("org.freedesktop.DBus.Mock.UpdateProperties ") + kName + " \"{'PowerSaveMode': <" +
             std::to_string(mode) + ">}\"");
    }
    static std::string Mode() {
        return Call(std::string("org.freedesktop.DBus.Properties.Get ") + kName + " PowerSaveMode");
    }

    static constexpr char kName[] = "org.gnome.Mutter.DisplayConfig";
    std::unique_ptr<Program> mutter_;
};

TEST_F(AMutterSession, StandsByWithItsDisplaysPoweredDown) {
    SetMode(3);
    Subscribe();
    ASSERT_TRUE(notes_.WaitForCalls(1));
    SetMode(0);
    EXPECT_TRUE(StateBecomes(0));
    SetMode(1);
    EXPECT_TRUE(notes_.WaitForCalls(2));
}

TEST_F(AMutterSession, IsWoken) {
    SetMode(3);
    Subscribe();
    ASSERT_TRUE(notes_.WaitForCalls(1));
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    EXPECT_TRUE(WaitUntil([] { return Mode() == "(<0>,)"; })) << Mode();
    EXPECT_TRUE(StateBecomes(0));
}

TEST_F(AMutterSession, IsOnWhenItsCompositorIsGone) {
    SetMode(3);
    Subscribe();
    ASSERT_TRUE(notes_.WaitForCalls(1));
    mutter_.reset();
    EXPECT_TRUE(StateBecomes(0));
}

// Neither this server nor any other without a screen can power displays down.
TEST_F(PowerSession, GoesWithoutDisplaysThatCannotBePoweredDown) {
    PrivateXServer server;
    server.Start();
    ASSERT_EQ(vconf_set_int("db/menu/connection/easy-wakeup", 1), 0);
    Subscribe();
    EXPECT_EQ(device_power_set_state(0, 1), 0);
    EXPECT_EQ(device_power_get_state(), 0);
    server.Kill();
    server.Start();
    EXPECT_EQ(device_power_get_state(), 0);
    Unsubscribe();
}

}  // namespace
