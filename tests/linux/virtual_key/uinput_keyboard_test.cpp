#include "virtual_key/uinput_keyboard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "child_process.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

// The one line that Open() logs; the child fails unless the result is as expected.
std::string LineWhenOpening(const std::string& path, int expectedError) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "info"}}, [&] {
        int error = 0;
        EXPECT_EQ(UinputKeyboard::Open(path.c_str(), &error), nullptr);
        EXPECT_EQ(error, expectedError);
    });
    EXPECT_EQ(output.status, 0) << output.out;
    EXPECT_EQ(output.ErrLines().size(), 1u) << output.err;
    return output.err;
}

TEST(AMachineWithoutTheModule, IsToldHowToLoadIt) {
    EXPECT_EQ(
        LineWhenOpening("/no/such/node", -ENOENT),
        "error QVXD: virtual_key: no virtual remote: /no/such/node is not there, the kernel module is not loaded; "
        "as root: modprobe uinput\n");
}

TEST(ANodeThatTakesNoDevice, IsNamedWithTheReason) {
    EXPECT_EQ(
        LineWhenOpening("/dev/null", -ENOTTY),
        "error QVXD: virtual_key: no virtual remote: /dev/null takes no new device: Inappropriate ioctl for device\n");
}

TEST(AnyOtherTrouble, IsNamedWithTheReason) {
    EXPECT_THAT(LineWhenOpening("/", -EISDIR), HasSubstr("/ cannot be opened: Is a directory"));
}

TEST(MissingPermission, IsToldWithTheRuleThatGrantsIt) {
    for (const int error : {EACCES, EPERM}) {
        const std::string text = WhyUinputCannotBeOpened("/dev/uinput", error);
        EXPECT_THAT(text, StartsWith("/dev/uinput may not be opened by this user"));
        EXPECT_THAT(text,
                    HasSubstr(R"(SUBSYSTEM=="misc", KERNEL=="uinput", TAG+="uaccess", OPTIONS+="static_node=uinput")"));
    }
}

TEST(ANodeWithoutItsModule, IsToldLikeAMissingNode) {
    for (const int error : {ENODEV, ENXIO}) {
        EXPECT_THAT(WhyUinputCannotBeOpened("/dev/uinput", error), HasSubstr("modprobe uinput"));
    }
}

}  // namespace
