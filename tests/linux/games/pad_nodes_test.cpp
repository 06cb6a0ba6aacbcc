#include "gamepad/games/pad_nodes.h"

#include <gmock/gmock.h>

#include "temporary_folder.h"

namespace games {
namespace {

using testing::UnorderedElementsAre;

TEST(TheNodesOfAPad, AreItsEventAndJoystickNode) {
    const TemporaryFolder sys;
    sys.Write("devices/virtual/input/input7/event3/dev", "");
    sys.Write("devices/virtual/input/input7/js0/dev", "");
    sys.Write("devices/virtual/input/input7/capabilities/key", "");
    EXPECT_THAT(NodesOf("/dev/input/event3", sys.Path("devices/virtual/input/input7/event3"), "/dev"),
                UnorderedElementsAre("/dev/input/event3", "/dev/input/js0"));
}

TEST(TheNodesOfAPad, AreItsRawNodeToo) {
    const TemporaryFolder sys;
    const std::string hid = "devices/usb1/1-2/1-2:1.0/0003:054C:09CC.0001";
    sys.Write(hid + "/input/input7/event3/dev", "");
    sys.Write(hid + "/input/input7/js0/dev", "");
    sys.Write(hid + "/hidraw/hidraw2/dev", "");
    EXPECT_THAT(NodesOf("/dev/input/event3", sys.Path(hid + "/input/input7/event3"), "/dev"),
                UnorderedElementsAre("/dev/input/event3", "/dev/input/js0", "/dev/hidraw2"));
}

TEST(TheNodesOfAPad, AreTheEventNodeAloneWithoutSysfs) {
    const TemporaryFolder devices;
    devices.Write("input/event3", "");
    devices.Write("input/js0", "");
    const std::string node = devices.Path("input/event3");
    EXPECT_THAT(NodesOf(node, node + "#123", "/dev"), UnorderedElementsAre(node));
    EXPECT_THAT(NodesOf(node, "", "/dev"), UnorderedElementsAre(node));
}

TEST(TheNodesOfPads, AreThoseOfEach) {
    const auto first = std::make_shared<gamepad::Pad>();
    const auto second = std::make_shared<gamepad::Pad>();
    first->node = "/dev/input/event3";
    second->node = "/dev/input/event4";
    EXPECT_THAT(NodesOf({first, second}), UnorderedElementsAre("/dev/input/event3", "/dev/input/event4"));
}

}  // namespace
}  // namespace games
