#include "platform/virtual_key.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const Environment kPrinting = {
    {"QUORVEX_KEYS", "print"}, {"QUORVEX_LOG", "error"}, {"JOURNAL_STREAM", ""}, {"XDG_CONFIG_HOME", "/nonexistent"}};

TEST(ThePrintingRemote, PrintsALineForEachKey) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        EXPECT_EQ(VirtualKey_Initialize("gamepad-service"), 1);
        EXPECT_EQ(VirtualKey_Send_KeyCode(111, KEY_ACTION_PRESS), 1);
        EXPECT_EQ(VirtualKey_Send_KeyCode(111, KEY_ACTION_RELEASE), 1);
        EXPECT_EQ(VirtualKey_Send_KeyCode(571, KEY_ACTION_AUTO_PRESS_RELEASE), 1);
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.OutLines(),
                ElementsAre("KEY_UP 111 press", "KEY_UP 111 release", "REMOTE_STICK 571 press+release"));
    EXPECT_EQ(output.err, "");
}

TEST(ThePrintingRemote, SaysWhereTheKeysGo) {
    Environment talking = kPrinting;
    talking["QUORVEX_LOG"] = "info";
    const ChildOutput output = RunInChild(talking, [] { EXPECT_EQ(VirtualKey_Initialize(nullptr), 1); });
    EXPECT_THAT(output.ErrLines(), ElementsAre("info QVXD: virtual_key: keys are printed to standard output"));
}

TEST(ThePrintingRemote, PrintsEachLineBeforeTheCallReturns) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        VirtualKey_Initialize("x");
        VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS);
        _exit(0);
    });
    EXPECT_EQ(output.out, "KEY_ENTER 36 press\n");
}

TEST(ThePrintingRemote, RefusesTheSameCodesAsTheRealOne) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        VirtualKey_Initialize("x");
        EXPECT_EQ(VirtualKey_Send_KeyCode(731, KEY_ACTION_AUTO_PRESS_RELEASE), -EINVAL);
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, 7), -EINVAL);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.ErrLines().size(), 2u);
}

TEST(ThePrintingRemote, OutlivesItsReader) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        VirtualKey_Initialize("x");
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS), -EIO);
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_RELEASE), -EIO);
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.ErrLines(), ElementsAre(HasSubstr("key 36 was not delivered")));
}

TEST(AHeldKey, IsReleasedByFinalize) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        VirtualKey_Initialize("x");
        VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS);
        VirtualKey_Finalize();
    });
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_ENTER 36 press", "KEY_ENTER 36 release"));
}

TEST(AKeyOutsideTheRemotesLife, IsAFailureWithAMessage) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS), -ENODEV);
        VirtualKey_Initialize("x");
        VirtualKey_Finalize();
        EXPECT_EQ(VirtualKey_Send_KeyCode(9, KEY_ACTION_PRESS), -ENODEV);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(output.ErrLines(),
                ElementsAre(HasSubstr("key 36 is lost: not initialized"), HasSubstr("key 9 is lost: not initialized")));
}

TEST(Initializing, TwiceIsOneRemote) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        EXPECT_EQ(VirtualKey_Initialize("x"), 1);
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS), 1);
        EXPECT_EQ(VirtualKey_Initialize("x"), 1);
        VirtualKey_Finalize();
        EXPECT_EQ(VirtualKey_Send_KeyCode(36, KEY_ACTION_PRESS), -ENODEV);
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.OutLines(), ElementsAre("KEY_ENTER 36 press", "KEY_ENTER 36 release"));
}

TEST(Initializing, AfterFinalizeIsANewRemote) {
    const ChildOutput output = RunInChild(kPrinting, [] {
        for (int life = 0; life < 3; ++life) {
            EXPECT_EQ(VirtualKey_Initialize("x"), 1);
            EXPECT_EQ(VirtualKey_Send_KeyCode(9, KEY_ACTION_AUTO_PRESS_RELEASE), 1);
            VirtualKey_Finalize();
        }
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.OutLines().size(), 3u);
}

TEST(AnUnknownPlaceForTheKeys, IsToldAndTheDeviceIsUsed) {
    const ChildOutput output = RunInChild({{"QUORVEX_KEYS", "pirnt"}, {"QUORVEX_LOG", "error"}}, [] {
        const int result = VirtualKey_Initialize("x");
        EXPECT_NE(result, 0);  // 1, or the reason why this machine has no virtual keyboard
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_THAT(output.err,
                HasSubstr("virtual_key: QUORVEX_KEYS=pirnt is none of print, uinput: keys go to /dev/uinput\n"));
    EXPECT_EQ(output.out, "");
}

void Hammer(int code) {
    for (int i = 0; i < 200; ++i) {
        VirtualKey_Send_KeyCode(code, KEY_ACTION_PRESS);
        VirtualKey_Send_KeyCode(code, KEY_ACTION_RELEASE);
    }
}

TEST(SeveralThreads, SendEachKeyWholeAndInOrder) {
    const std::vector<int> codes = {36, 9, 148, 74};
    const ChildOutput output = RunInChild(kPrinting, [&] {
        VirtualKey_Initialize("x");
        RunThreads(static_cast<int>(codes.size()), [&](int thread) { Hammer(codes[static_cast<size_t>(thread)]); });
        VirtualKey_Finalize();
    });
    EXPECT_EQ(output.status, 0);
    std::map<std::string, int> count;
    for (const std::string& line : output.OutLines()) {
        ++count[line];
    }
    EXPECT_EQ(count.size(), 8u);
    for (const auto& [line, times] : count) {
        EXPECT_EQ(times, 200) << line;
    }
}

void ComeAndGo() {
    for (int life = 0; life < 100; ++life) {
        VirtualKey_Initialize("x");
        VirtualKey_Finalize();
    }
}

TEST(SeveralThreads, MaySendWhileTheRemoteComesAndGoes) {
    const ChildOutput output = RunInChild(
        kPrinting, [] { RunThreads(4, [](int thread) { thread == 0 ? ComeAndGo() : Hammer(36 + thread * 37); }); });
    EXPECT_EQ(output.status, 0);
    std::map<std::string, int> down;  // per key: at most one press ahead of its releases
    for (const std::string& line : output.OutLines()) {
        const std::string key = line.substr(0, line.rfind(' '));
        line.substr(line.rfind(' ')) == " press" ? ++down[key] : --down[key];
        ASSERT_LE(down[key], 1) << line;
    }
    for (const auto& [key, presses] : down) {
        EXPECT_LE(presses, 0) << key;
    }
}

}  // namespace
