#include "gamepad/axis.h"

#include <gmock/gmock.h>

#include <climits>

using gamepad::Axis;
using gamepad::SpecOf;
using gamepad::Zone;
using testing::Optional;

namespace {

Axis Stick16(int fuzz = 0, int flat = 0) {
    return Axis({ABS_X, -32768, 32767, fuzz, flat, 0});
}
Axis Stick8() {
    return Axis({ABS_X, 0, 255, 0, 0, 127});
}

TEST(AnAxis, IsPushedBeyondHalfOfTheWayToItsEnds) {
    EXPECT_EQ(Stick16().ZoneOf(16383), Zone::Middle);
    EXPECT_EQ(Stick16().ZoneOf(16384), Zone::High);
    EXPECT_EQ(Stick16().ZoneOf(-16384), Zone::Middle);
    EXPECT_EQ(Stick16().ZoneOf(-16385), Zone::Low);
    EXPECT_EQ(Stick8().ZoneOf(191), Zone::Middle);
    EXPECT_EQ(Stick8().ZoneOf(192), Zone::High);
    EXPECT_EQ(Stick8().ZoneOf(64), Zone::Middle);
    EXPECT_EQ(Stick8().ZoneOf(63), Zone::Low);
}

TEST(AnAxis, DeliversMovements) {
    Axis axis = Stick16();
    EXPECT_THAT(axis.Settle(10000), Optional(10000));
    EXPECT_THAT(axis.Settle(20000), Optional(20000));
}

TEST(AnAxis, DropsTheSamePositionAgain) {
    Axis axis = Stick16();
    axis.Settle(20000);
    EXPECT_EQ(axis.Settle(20000), std::nullopt);
}

TEST(AnAxis, TakesDriftAroundTheCentreForTheCentre) {
    Axis axis = Stick16(0, 4000);
    for (const int drift : {100, -2000, 3999, -4000}) {
        EXPECT_EQ(axis.Settle(drift), std::nullopt) << drift;
    }
}

TEST(AnAxis, IsAtRestAlsoWhenItsDriverAnnouncesNoFlat) {
    Axis axis = Stick8();
    for (const int drift : {128, 127, 126, 129, 127}) {
        EXPECT_EQ(axis.Settle(drift), std::nullopt) << drift;
    }
}

TEST(AnAxis, DropsNoiseWhereverItIsHeld) {
    Axis axis = Stick16(300);
    EXPECT_THAT(axis.Settle(25000), Optional(25000));
    for (const int noise : {25100, 24900, 25300, 24700}) {
        EXPECT_EQ(axis.Settle(noise), std::nullopt) << noise;
    }
}

TEST(AnAxis, ReturnsToItsCentreExactly) {
    Axis axis = Stick16(300, 128);
    axis.Settle(25000);
    EXPECT_THAT(axis.Settle(90), Optional(0));
}

TEST(AnAxis, ReachesItsEndsExactly) {
    Axis axis = Stick16(300);
    axis.Settle(32700);
    EXPECT_THAT(axis.Settle(32767), Optional(32767));
}

TEST(AnAxis, TellsTheSmallStepOverThePushThreshold) {
    Axis axis = Stick16();
    axis.Settle(16383);
    EXPECT_THAT(axis.Settle(16384), Optional(16384));
    EXPECT_THAT(axis.Settle(16383), Optional(16383));
}

TEST(AnAxis, CannotDeclareHalfOfItsRangeToBeNoise) {
    Axis axis = Stick16(INT_MAX, INT_MAX);
    EXPECT_THAT(axis.Settle(20000), Optional(20000));
    EXPECT_THAT(axis.Settle(0), Optional(0));
}

TEST(AnAxis, CutsWhatLiesOutsideItsRange) {
    Axis axis = Stick8();
    EXPECT_THAT(axis.Settle(INT_MAX), Optional(255));
    EXPECT_THAT(axis.Settle(INT_MIN), Optional(0));
}

TEST(AnAnnouncedRange, IsTakenAsItIs) {
    const auto spec = SpecOf(ABS_X, {12, 0, 255, 1, 15, 0});
    ASSERT_TRUE(spec);
    EXPECT_EQ(spec->minimum, 0);
    EXPECT_EQ(spec->maximum, 255);
    EXPECT_EQ(spec->fuzz, 1);
    EXPECT_EQ(spec->flat, 15);
    EXPECT_EQ(spec->start, 12);
}

TEST(AnAnnouncedRange, SaysNothingWhenItIsEmpty) {
    EXPECT_EQ(SpecOf(ABS_X, {0, 0, 0, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(SpecOf(ABS_X, {7, 5, 5, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(SpecOf(ABS_X, {0, INT_MAX - 1, INT_MAX, 0, 0, 0}), std::nullopt);
}

TEST(AnAnnouncedRange, IsTurnedWhenItIsInverted) {
    const auto spec = SpecOf(ABS_X, {0, 100, -100, 0, 0, 0});
    ASSERT_TRUE(spec);
    EXPECT_EQ(spec->minimum, -100);
    EXPECT_EQ(spec->maximum, 100);
}

TEST(AnAnnouncedRange, MayBeAsWideAsNumbersGo) {
    const auto spec = SpecOf(ABS_X, {0, INT_MIN, INT_MAX, INT_MAX, INT_MIN, 0});
    ASSERT_TRUE(spec);
    Axis axis(*spec);
    EXPECT_THAT(axis.Settle(INT_MAX), Optional(spec->maximum));
    EXPECT_EQ(axis.ZoneOf(spec->maximum), Zone::High);
    EXPECT_THAT(axis.Settle(INT_MIN), Optional(spec->minimum));
    EXPECT_EQ(axis.ZoneOf(spec->minimum), Zone::Low);
    EXPECT_THAT(axis.Settle(0), Optional(0));
}

}  // namespace
