#include "gamepad/pad_identity.h"

#include <gmock/gmock.h>

#include <set>

#include "evdev_model.h"

using gamepad::BaseUid;
using gamepad::Printable;
using gamepad::UniqueUid;

namespace {

constexpr const char* kSyspath = "/sys/devices/virtual/input/input7/event3";

std::string UidOf(const PadModel& model, const std::string& id_path = "", const std::string& syspath = kSyspath) {
    return BaseUid(Announce(model).get(), id_path, syspath);
}

PadModel Nameless() {
    PadModel model = StandardPad();
    model.phys.clear();
    return model;
}

TEST(TheUid, NamesTheSerialNumberFirst) {
    PadModel model = StandardPad();
    model.uniq = "aa:bb:cc:dd:ee:ff";
    model.bus = BUS_BLUETOOTH;
    EXPECT_EQ(UidOf(model, "pci-1"), "0005:045e:028e:aa:bb:cc:dd:ee:ff");
}

TEST(TheUid, NamesThePortNext) {
    EXPECT_EQ(UidOf(StandardPad(), "pci-1"), "0003:045e:028e:usb-0000:00:14.0-2/input0");
}

TEST(TheUid, NamesUdevsPathWhereTheDeviceSaysNothing) {
    EXPECT_EQ(UidOf(Nameless(), "pci-1"), "0003:045e:028e:pci-1");
}

TEST(TheUid, NamesTheDriversFolderAtLast) {
    EXPECT_EQ(UidOf(Nameless()), "0003:045e:028e:/sys/devices/virtual/input");
    EXPECT_EQ(UidOf(Nameless()), UidOf(Nameless(), "", "/sys/devices/virtual/input/input8/event4"))
        << "the numbers change whenever the pad comes back";
}

TEST(TheUid, ShowsOnlyPrintableCharacters) {
    PadModel model = StandardPad();
    model.uniq = "a\nb\x1b[31m\xff";
    EXPECT_EQ(UidOf(model), "0003:045e:028e:a?b?[31m\xEF\xBF\xBD");
}

TEST(TheUid, IsCutToWhatTheServiceKeeps) {
    PadModel model = StandardPad();
    model.uniq = std::string(400, 'x');
    EXPECT_EQ(UidOf(model).size(), gamepad::kLongestUid);
}

TEST(TheUid, IsNotCutInsideACharacter) {
    for (std::size_t fill = 0; fill < 3; ++fill) {
        PadModel model = StandardPad();
        model.uniq = std::string(fill, 'x');
        for (int i = 0; i < 200; ++i) {
            model.uniq += "\xE2\x82\xAC";  // the euro sign
        }
        const std::string uid = UidOf(model);
        EXPECT_LE(uid.size(), gamepad::kLongestUid);
        EXPECT_GT(uid.size(), gamepad::kLongestUid - 3);
        EXPECT_EQ(Printable(uid), uid);
    }
}

TEST(TwinPads, GetNumbers) {
    std::set<std::string> taken;
    const auto is_taken = [&taken](const std::string& uid) { return taken.count(uid) != 0; };
    EXPECT_EQ(UniqueUid("pad", is_taken), "pad");
    taken = {"pad"};
    EXPECT_EQ(UniqueUid("pad", is_taken), "pad-2");
    taken = {"pad", "pad-2"};
    EXPECT_EQ(UniqueUid("pad", is_taken), "pad-3");
    taken = {"pad-2"};
    EXPECT_EQ(UniqueUid("pad", is_taken), "pad");
}

TEST(TwinPads, GetNumbersAlsoBehindALongUid) {
    const std::string longest(gamepad::kLongestUid, 'x');
    const std::string uid = UniqueUid(longest, [&longest](const std::string& taken) { return taken == longest; });
    EXPECT_EQ(uid.size(), gamepad::kLongestUid);
    EXPECT_THAT(uid, testing::EndsWith("x-2"));
}

TEST(ADevicesName, IsMadePrintable) {
    EXPECT_EQ(Printable("Fine \xC3\xA9 name"), "Fine \xC3\xA9 name");
    EXPECT_EQ(Printable("a\r\n\tb\x7f"), "a???b?");
    EXPECT_EQ(Printable("\xE2\x80\xAEright to left"), "?right to left");
    EXPECT_EQ(Printable("\xC3"), "\xEF\xBF\xBD");
    EXPECT_EQ(Printable(""), "");
}

}  // namespace
