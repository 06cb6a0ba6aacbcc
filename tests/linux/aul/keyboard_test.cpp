#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "heard.h"
#include "keyboard_double.h"
#include "own_settings.h"
#include "private_bus.h"
#include "private_sway.h"
#include "private_x_server.h"
#include "program.h"

namespace {

constexpr char kKeyboardId[] = "com.velmora.tv.keypane-app";

class AnOnScreenKeyboard : public testing::Test {
protected:
    AnOnScreenKeyboard() { bus_.Start(); }

    static void Call(const std::string& name, const std::string& path, const std::string& call) {
        ASSERT_TRUE(WaitUntil([&] {
            return OutputOf("gdbus call --session --dest " + name + " --object-path " + path + " --method " + call) ==
                   "()";
        })) << call;
    }

    OwnSettings settings_;
    PrivateBus bus_;
    Heard heard_;
};

TEST_F(AnOnScreenKeyboard, IsToldWhenItIsShownAndHidden) {
    heard_.Listen();
    KeyboardDouble keyboard(/*isVisible=*/false);
    keyboard.Own();
    keyboard.Serve();
    ASSERT_TRUE(WaitUntil([] { return IdOf(getpid()) == kKeyboardId; }));
    keyboard.Show(true);
    ASSERT_TRUE(heard_.WaitFor(getpid(), kShown));
    keyboard.Show(true);
    keyboard.Show(false);
    ASSERT_TRUE(heard_.WaitFor(getpid(), kHidden));
    EXPECT_EQ(heard_.All(), (std::vector<Signal>{{getpid(), kShown}, {getpid(), kHidden}}));
}

TEST_F(AnOnScreenKeyboard, ThatIsShownAlreadyIsTold) {
    KeyboardDouble keyboard(/*isVisible=*/true);
    keyboard.Own();
    keyboard.Serve();
    heard_.Listen();
    EXPECT_TRUE(heard_.WaitForAll({{getpid(), kShown}}));
}

std::atomic<bool> hasAnswered{false};

int AnswerWithoutAVariant(sd_bus_message* call, void* /*data*/, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Properties", "Get") <= 0) {
        return 0;
    }
    hasAnswered = sd_bus_reply_method_return(call, "b", 1) >= 0;
    return 1;
}

TEST_F(AnOnScreenKeyboard, ThatAnswersInAnotherTypeIsBelievedWhenItTellsInTheRightOne) {
    KeyboardDouble keyboard(/*isVisible=*/false, AnswerWithoutAVariant);
    keyboard.Own();
    keyboard.Serve();
    heard_.Listen();
    ASSERT_TRUE(WaitUntil([] { return hasAnswered.load() && IdOf(getpid()) == kKeyboardId; }));
    EXPECT_TRUE(heard_.All().empty());
    keyboard.Show(true);
    EXPECT_TRUE(heard_.WaitForAll({{getpid(), kShown}}));
}

TEST_F(AnOnScreenKeyboard, ThatEndsWhileItIsShownIsHidden) {
    heard_.Listen();
    {
        KeyboardDouble keyboard(/*isVisible=*/true);
        keyboard.Own();
        keyboard.Serve();
        ASSERT_TRUE(heard_.WaitFor(getpid(), kShown));
    }
    EXPECT_TRUE(heard_.WaitForAll({{getpid(), kShown}, {getpid(), kHidden}}));
    EXPECT_TRUE(WaitUntil([] { return IdOf(getpid()) == "linux_aul"; }));
}

TEST_F(AnOnScreenKeyboard, IsHiddenWhenTheBusIsLostAndShownWhenItReturns) {
    heard_.Listen();
    auto keyboard = std::make_unique<KeyboardDouble>(/*isVisible=*/true);
    keyboard->Own();
    keyboard->Serve();
    ASSERT_TRUE(heard_.WaitFor(getpid(), kShown));
    bus_.Kill();
    ASSERT_TRUE(heard_.WaitFor(getpid(), kHidden));
    bus_.Start();
    keyboard = std::make_unique<KeyboardDouble>(/*isVisible=*/true);
    keyboard->Own();
    keyboard->Serve();
    EXPECT_TRUE(heard_.WaitFor(getpid(), kShown));
}

TEST_F(AnOnScreenKeyboard, IsNotBelievedInWhenSomebodyElseSaysSo) {
    heard_.Listen();
    KeyboardDouble keyboard(/*isVisible=*/false);
    keyboard.Own();
    keyboard.Serve();
    ASSERT_TRUE(WaitUntil([] { return IdOf(getpid()) == kKeyboardId; }));
    const KeyboardDouble liar(/*isVisible=*/true);
    liar.EmitNow();
    keyboard.Show(false);
    keyboard.Show(true);
    ASSERT_TRUE(heard_.WaitFor(getpid(), kShown));
    EXPECT_EQ(heard_.All().size(), 1U);
}

TEST_F(AnOnScreenKeyboard, NamedSqueekboardIsToldWhenItIsShownAndHidden) {
    PrivateSway sway;
    sway.Start();
    heard_.Listen();
    const Program squeekboard({"squeekboard"});
    for (int i = 0; i < 2; ++i) {
        Call("sm.puri.OSK0", "/sm/puri/OSK0", "sm.puri.OSK0.SetVisible true");
        ASSERT_TRUE(heard_.WaitFor(squeekboard.Id(), kShown));
        EXPECT_EQ(IdOf(squeekboard.Id()), kKeyboardId);
        Call("sm.puri.OSK0", "/sm/puri/OSK0", "sm.puri.OSK0.SetVisible false");
        ASSERT_TRUE(heard_.WaitFor(squeekboard.Id(), kHidden));
    }
    EXPECT_EQ(heard_.All().size(), 4U);
}

TEST_F(AnOnScreenKeyboard, NamedOnboardIsToldWhenItIsShownAndHidden) {
    PrivateXServer server;
    server.Start();
    heard_.Listen();
    const Program onboard({"onboard"});
    const std::string path = "/org/onboard/Onboard/Keyboard";
    const auto last = [this](int status) {
        return WaitUntil([&] {
            const std::vector<Signal> all = heard_.All();
            return !all.empty() && all.back().second == status;
        });
    };
    for (int i = 0; i < 2; ++i) {
        Call("org.onboard.Onboard", path, "org.onboard.Onboard.Keyboard.Show");
        ASSERT_TRUE(last(kShown));
        EXPECT_EQ(IdOf(heard_.All().back().first), kKeyboardId);
        Call("org.onboard.Onboard", path, "org.onboard.Onboard.Keyboard.Hide");
        ASSERT_TRUE(last(kHidden));
    }
}

}  // namespace
