#include "gamepad/mapping/guid.h"

#include <gtest/gtest.h>

using namespace mapping;

namespace {

Guid Of(const char* digits) {
    return Guid::Parse(digits).value();
}

TEST(Guid, IsMadeOfBusVendorProductAndVersion) {
    EXPECT_EQ(Guid::Of({0x0003, 0x054c, 0x0268, 0x8111, "any"}), Of("030000004c0500006802000011810000"));
}

TEST(Guid, IsMadeOfTheNameWhenVendorOrProductIsMissing) {
    const Guid expected = Of("050000004c69632050726f20436f6e00");
    EXPECT_EQ(Guid::Of({5, 0, 0, 1, "Lic Pro Controller"}), expected);
    EXPECT_EQ(Guid::Of({5, 7, 0, 1, "Lic Pro Controller"}), expected);
    EXPECT_EQ(Guid::Of({5, 0, 7, 1, " Lic  Pro   Controller "}), expected);
    EXPECT_EQ(Guid::Of({5, 0, 0, 1, "Ab"}), Of("05000000416200000000000000000000"));
}

TEST(Guid, MayBeWrittenInCapitals) {
    EXPECT_EQ(Of("030000004C0500006802000011810000"), Of("030000004c0500006802000011810000"));
}

TEST(Guid, IsExactly32HexadecimalDigits) {
    for (const char* text :
         {"", "0", "030000004c050000680200001181000", "030000004c05000068020000118100000",
          "030000004c05000068020000118100 0", "030000004c05000068020000118100g0", "0x0000004c0500006802000011810000"}) {
        EXPECT_FALSE(Guid::Parse(text)) << text;
    }
}

TEST(Guid, LosesItsVersionOnlyWhenItHasOne) {
    EXPECT_EQ(Of("030000004c0500006802000011810000").WithoutVersion(), Of("030000004c0500006802000000000000"));
    const Guid named = Of("050000004c69632050726f20436f6e00");
    EXPECT_EQ(named.WithoutVersion(), named);
}

TEST(Guid, KnowsAndLosesItsChecksum) {
    const Guid guid = Of("03001a2b4c0500006802000011810000");
    EXPECT_EQ(guid.Checksum(), 0x2b1a);
    EXPECT_EQ(guid.WithoutChecksum(), Of("030000004c0500006802000011810000"));
}

TEST(NameChecksum, IsThatOfTheTidyName) {
    EXPECT_EQ(NameChecksum("Sony Pad"), 0xc16c);  // as SDL 2.26 prints it
    EXPECT_EQ(NameChecksum("  Sony  Pad "), 0xc16c);
    EXPECT_EQ(NameChecksum("Sony Sony Pad"), 0xc16c);
    EXPECT_EQ(NameChecksum("Sony-sony Pad"), NameChecksum("sony Pad"));
    EXPECT_NE(NameChecksum("Sony Sony Pad Sony"), NameChecksum("Pad Sony"));
    EXPECT_EQ(NameChecksum(""), 0);
}

}  // namespace
