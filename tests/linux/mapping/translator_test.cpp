#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gamepad/mapping/mapping.h"
#include "pads.h"

using namespace mapping;
using testing::ElementsAre;
using testing::IsEmpty;

namespace mapping {
bool operator==(const Output& a, const Output& b) {
    return a.type == b.type && a.code == b.code && a.value == b.value;
}
void PrintTo(const Output& output, std::ostream* out) {
    *out << (output.type == EV_KEY ? "button " : "axis ") << output.code << " = " << output.value;
}
}  // namespace mapping

namespace {

Output Button(int number, int value) {
    return {EV_KEY, static_cast<std::uint16_t>(number), value};
}
Output Axis(int code, int value) {
    return {EV_ABS, static_cast<std::uint16_t>(code), value};
}

/// A numbered pad with one mapping. Axes: 0 ABS_X 16 bit, 1 ABS_Y 0..255, 2 ABS_Z 0..1023, 3 ABS_RX -128..127,
/// 4 ABS_RY 0..65535, 5 ABS_RZ -2..2.
class MappedPad {
public:
    explicit MappedPad(const std::string& fields, const Capabilities& can = NumberedPad())
        : translator(*ParseLine("03000000c82d00000090000011010000,Pad," + fields).mapping, can) {}

    std::vector<Output> Key(int code, int value) { return Send(EV_KEY, code, value); }
    std::vector<Output> Abs(int code, int value) { return Send(EV_ABS, code, value); }
    std::vector<Output> Send(int type, int code, int value) {
        const Outputs outputs =
            translator.Translate(static_cast<std::uint16_t>(type), static_cast<std::uint16_t>(code), value);
        return {outputs.begin(), outputs.end()};
    }

    Translator translator;
};

TEST(EveryButton, HasItsNumberByPlace) {
    const std::vector<std::pair<std::string, int>> numbers{{"a", 0},
                                                           {"b", 1},
                                                           {"x", 2},
                                                           {"y", 3},
                                                           {"leftshoulder", 4},
                                                           {"rightshoulder", 5},
                                                           {"lefttrigger", 6},
                                                           {"righttrigger", 7},
                                                           {"back", 10},
                                                           {"start", 11},
                                                           {"leftstick", 12},
                                                           {"rightstick", 13},
                                                           {"guide", 14}};
    for (const auto& [name, number] : numbers) {
        MappedPad pad(name + ":b4");
        EXPECT_THAT(pad.Key(BTN_TOP2, 1), ElementsAre(Button(number, 1))) << name;
        EXPECT_THAT(pad.Key(BTN_TOP2, 2), IsEmpty()) << name;
        EXPECT_THAT(pad.Key(BTN_TOP2, 0), ElementsAre(Button(number, 0))) << name;
        EXPECT_TRUE(pad.translator.Delivers(EV_KEY, static_cast<std::uint16_t>(number))) << name;
    }
}

TEST(EveryAxis, HasItsCodeAndRange) {
    const std::vector<std::tuple<std::string, int, int>> axes{{"leftx", ABS_X, -32768},   {"lefty", ABS_Y, -32768},
                                                              {"rightx", ABS_RX, -32768}, {"righty", ABS_RY, -32768},
                                                              {"lefttrigger", ABS_Z, 0},  {"righttrigger", ABS_RZ, 0}};
    for (const auto& [name, code, least] : axes) {
        MappedPad pad(name + ":a1");
        EXPECT_THAT(pad.Abs(ABS_Y, 255), ElementsAre(Axis(code, 32767))) << name;
        EXPECT_THAT(pad.Abs(ABS_Y, 0), ElementsAre(Axis(code, least))) << name;
        const auto range = pad.translator.RangeOf(static_cast<std::uint16_t>(code));
        ASSERT_TRUE(range) << name;
        EXPECT_EQ(range->minimum, least) << name;
        EXPECT_EQ(range->maximum, 32767) << name;
    }
}

TEST(ADpad, OfButtonsArrivesAsTheHatAxes) {
    MappedPad pad("dpup:b0,dpdown:b1,dpleft:b2,dpright:b3");
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 1), ElementsAre(Axis(ABS_HAT0Y, -1)));
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 0), ElementsAre(Axis(ABS_HAT0Y, 0)));
    EXPECT_THAT(pad.Key(BTN_THUMB, 1), ElementsAre(Axis(ABS_HAT0Y, 1)));
    EXPECT_THAT(pad.Key(BTN_THUMB2, 1), ElementsAre(Axis(ABS_HAT0X, -1)));
    EXPECT_THAT(pad.Key(BTN_TOP, 1), ElementsAre(Axis(ABS_HAT0X, 0)));  // both held: neither
    EXPECT_THAT(pad.Key(BTN_THUMB2, 0), ElementsAre(Axis(ABS_HAT0X, 1)));
    const auto range = pad.translator.RangeOf(ABS_HAT0X);
    ASSERT_TRUE(range);
    EXPECT_EQ(range->minimum, -1);
    EXPECT_EQ(range->maximum, 1);
}

TEST(ADpad, ThatIsAHatSwingsOverInOneEvent) {
    MappedPad pad("dpup:h0.1,dpright:h0.2,dpdown:h0.4,dpleft:h0.8");
    EXPECT_THAT(pad.Abs(ABS_HAT0X, -1), ElementsAre(Axis(ABS_HAT0X, -1)));
    EXPECT_THAT(pad.Abs(ABS_HAT0X, 1), ElementsAre(Axis(ABS_HAT0X, 1)));
    EXPECT_THAT(pad.Abs(ABS_HAT0Y, 1), ElementsAre(Axis(ABS_HAT0Y, 1)));
    EXPECT_THAT(pad.Abs(ABS_HAT0Y, -1), ElementsAre(Axis(ABS_HAT0Y, -1)));
    EXPECT_THAT(pad.Abs(ABS_HAT0Y, 0), ElementsAre(Axis(ABS_HAT0Y, 0)));
    EXPECT_THAT(pad.Abs(ABS_HAT1X, 1), IsEmpty());
}

TEST(ADpad, OnAnAxisIsPushedHalfwayOut) {
    MappedPad pad("dpleft:-a0,dpright:+a0,dpup:-a1,dpdown:+a1");
    EXPECT_THAT(pad.Abs(ABS_X, -16383), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_X, -16384), ElementsAre(Axis(ABS_HAT0X, -1)));
    EXPECT_THAT(pad.Abs(ABS_X, 32767), ElementsAre(Axis(ABS_HAT0X, 1)));
    EXPECT_THAT(pad.Abs(ABS_X, 0), ElementsAre(Axis(ABS_HAT0X, 0)));
    EXPECT_THAT(pad.Abs(ABS_Y, 0), ElementsAre(Axis(ABS_HAT0Y, -1)));
    EXPECT_THAT(pad.Abs(ABS_Y, 127), ElementsAre(Axis(ABS_HAT0Y, 0)));
}

TEST(AHat, WithSumsOfDirectionsPressesForEach) {
    MappedPad pad("a:h1.3");
    EXPECT_THAT(pad.Abs(ABS_HAT1X, 1), ElementsAre(Button(0, 1)));
    EXPECT_THAT(pad.Abs(ABS_HAT1Y, -1), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_HAT1X, 0), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_HAT1Y, 0), ElementsAre(Button(0, 0)));
    EXPECT_THAT(pad.Abs(ABS_HAT1Y, 1), IsEmpty());
}

TEST(AHat, WithManyPositionsCountsFromAThirdOfTheWay) {
    const input_absinfo wide{0, -90, 90, 0, 0, 0};
    MappedPad pad("dpright:h0.2,dpleft:h0.8", Pad({}, {{ABS_HAT0X, wide}, {ABS_HAT0Y, wide}}));
    EXPECT_THAT(pad.Abs(ABS_HAT0X, 30), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_HAT0X, 31), ElementsAre(Axis(ABS_HAT0X, 1)));
    EXPECT_THAT(pad.Abs(ABS_HAT0X, -31), ElementsAre(Axis(ABS_HAT0X, -1)));
}

TEST(AHat, MovesAStick) {
    MappedPad pad("-leftx:h0.8,+leftx:h0.2,lefttrigger:h0.1");
    EXPECT_THAT(pad.Abs(ABS_HAT0X, -1), ElementsAre(Axis(ABS_X, -32768)));
    EXPECT_THAT(pad.Abs(ABS_HAT0X, 1), ElementsAre(Axis(ABS_X, 32767)));
    EXPECT_THAT(pad.Abs(ABS_HAT0X, 0), ElementsAre(Axis(ABS_X, 0)));
    EXPECT_THAT(pad.Abs(ABS_HAT0Y, -1), ElementsAre(Button(6, 1)));
}

TEST(AStick, IsScaledToTheWholeRange) {
    MappedPad pad("leftx:a3");
    EXPECT_THAT(pad.Abs(ABS_RX, -128), ElementsAre(Axis(ABS_X, -32768)));
    EXPECT_THAT(pad.Abs(ABS_RX, 127), ElementsAre(Axis(ABS_X, 32767)));
    EXPECT_THAT(pad.Abs(ABS_RX, 0), ElementsAre(Axis(ABS_X, 128)));
    EXPECT_THAT(pad.Abs(ABS_RX, 4000), ElementsAre(Axis(ABS_X, 32767)));  // beyond what it announced
}

TEST(AStick, MayRunBackwards) {
    MappedPad pad("lefty:a0~");
    EXPECT_THAT(pad.Abs(ABS_X, -32768), ElementsAre(Axis(ABS_Y, 32767)));
    EXPECT_THAT(pad.Abs(ABS_X, 32767), ElementsAre(Axis(ABS_Y, -32768)));
    EXPECT_THAT(pad.Abs(ABS_X, 100), ElementsAre(Axis(ABS_Y, -101)));
}

TEST(AStick, MayBeMadeOfButtons) {
    MappedPad pad("-leftx:b0,+leftx:b1");
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 1), ElementsAre(Axis(ABS_X, -32768)));
    EXPECT_THAT(pad.Key(BTN_THUMB, 1), ElementsAre(Axis(ABS_X, -1)));
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 0), ElementsAre(Axis(ABS_X, 32767)));
    EXPECT_THAT(pad.Key(BTN_THUMB, 0), ElementsAre(Axis(ABS_X, 0)));
}

TEST(AStick, MayBeMadeOfHalvesOfAxes) {
    MappedPad pad("-leftx:+a0,+leftx:-a3");
    EXPECT_THAT(pad.Abs(ABS_X, 32767), ElementsAre(Axis(ABS_X, -32768)));
    EXPECT_THAT(pad.Abs(ABS_X, -32768), ElementsAre(Axis(ABS_X, 0)));
    EXPECT_THAT(pad.Abs(ABS_RX, -128), ElementsAre(Axis(ABS_X, 32767)));
}

TEST(ATrigger, ThatIsAnAxisRestsAtZero) {
    MappedPad pad("lefttrigger:a2,righttrigger:+a5");
    EXPECT_THAT(pad.Abs(ABS_Z, 0), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_Z, 1023), ElementsAre(Axis(ABS_Z, 32767)));
    EXPECT_THAT(pad.Abs(ABS_Z, 0), ElementsAre(Axis(ABS_Z, 0)));
    EXPECT_THAT(pad.Abs(ABS_RZ, -2), IsEmpty());
    EXPECT_THAT(pad.Abs(ABS_RZ, 2), ElementsAre(Axis(ABS_RZ, 32767)));
    EXPECT_FALSE(pad.translator.Delivers(EV_KEY, 6));
}

TEST(AnAxis, BoundToAButtonPressesBeyondItsMiddle) {
    MappedPad pad("a:a2,b:a2~");
    EXPECT_THAT(pad.Abs(ABS_Z, 0), ElementsAre(Button(1, 1)));
    EXPECT_THAT(pad.Abs(ABS_Z, 1023), ElementsAre(Button(0, 1), Button(1, 0)));
}

TEST(AnAxis, WithoutAnyWidthDoesNoHarm) {
    MappedPad pad("leftx:a0", Pad({}, {{ABS_X, {0, 0, 0, 5, 5, 0}}}));
    EXPECT_THAT(pad.Abs(ABS_X, 70000), ElementsAre(Axis(ABS_X, 32767)));
    EXPECT_EQ(pad.translator.RangeOf(ABS_X)->flat, 0);
}

TEST(AnAxis, OfTheWidestRangeDoesNotOverflow) {
    MappedPad pad("leftx:a0", Pad({}, {{ABS_X, {0, INT32_MIN, INT32_MAX, INT32_MAX, INT32_MAX, 0}}}));
    EXPECT_THAT(pad.Abs(ABS_X, INT32_MIN), ElementsAre(Axis(ABS_X, -32768)));
    EXPECT_THAT(pad.Abs(ABS_X, INT32_MAX), ElementsAre(Axis(ABS_X, 32767)));
    EXPECT_EQ(pad.translator.RangeOf(ABS_X)->flat, 32767);
}

TEST(FuzzAndFlat, AreGivenInUnitsOfTheOutput) {
    MappedPad pad("leftx:a4,lefty:a1,lefttrigger:a4,righttrigger:+a4");
    EXPECT_EQ(pad.translator.RangeOf(ABS_X)->fuzz, 255);
    EXPECT_EQ(pad.translator.RangeOf(ABS_X)->flat, 4095);
    EXPECT_EQ(pad.translator.RangeOf(ABS_Y)->flat, 15 * 257);
    EXPECT_EQ(pad.translator.RangeOf(ABS_Z)->flat, 2047);
    EXPECT_EQ(pad.translator.RangeOf(ABS_RZ)->flat, 4095);
}

TEST(AnOutputWithTwoSources, IsReleasedWithTheLastOfThem) {
    MappedPad pad("a:b0,a:b1");
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 1), ElementsAre(Button(0, 1)));
    EXPECT_THAT(pad.Key(BTN_THUMB, 1), IsEmpty());
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 0), IsEmpty());
    EXPECT_THAT(pad.Key(BTN_THUMB, 0), ElementsAre(Button(0, 0)));
}

TEST(AButtonHeldWhileThePadIsOpened, MakesNoEventWhenItIsReleased) {
    MappedPad pad("a:b0");
    EXPECT_THAT(pad.Key(BTN_TRIGGER, 0), IsEmpty());
}

TEST(OneInput, MayLeadToEveryOutputThatThereIs) {
    MappedPad pad(
        "a:b0,b:b0,x:b0,y:b0,back:b0,guide:b0,start:b0,leftstick:b0,rightstick:b0,leftshoulder:b0,rightshoulder:b0,"
        "dpup:b0,dpleft:b0,leftx:b0,lefty:b0,rightx:b0,righty:b0,lefttrigger:b0,righttrigger:b0,a:b0,leftx:b0");
    EXPECT_EQ(pad.Key(BTN_TRIGGER, 1).size(), 19U);
    EXPECT_EQ(pad.Key(BTN_TRIGGER, 0).size(), 19U);
}

TEST(Inputs, ThatAreNotMappedAreTold) {
    MappedPad pad("a:b0,leftx:a0,dpup:h0.1,paddle1:b2");
    EXPECT_TRUE(pad.translator.Uses(EV_KEY, BTN_TRIGGER));
    EXPECT_TRUE(pad.translator.Uses(EV_ABS, ABS_X));
    EXPECT_TRUE(pad.translator.Uses(EV_ABS, ABS_HAT0Y));
    EXPECT_FALSE(pad.translator.Uses(EV_KEY, BTN_THUMB));
    EXPECT_FALSE(pad.translator.Uses(EV_KEY, BTN_THUMB2));  // a paddle has no number
    EXPECT_FALSE(pad.translator.Uses(EV_ABS, ABS_HAT0X));
    EXPECT_FALSE(pad.translator.Uses(EV_KEY, ABS_X));
    EXPECT_FALSE(pad.translator.Uses(EV_SYN, 0));
    EXPECT_THAT(pad.Key(KEY_HOMEPAGE, 1), IsEmpty());
    EXPECT_THAT(pad.Send(EV_MSC, MSC_SCAN, 589825), IsEmpty());
    EXPECT_THAT(pad.Send(EV_SYN, SYN_REPORT, 0), IsEmpty());
    EXPECT_THAT(pad.Send(0xffff, 0xffff, INT32_MIN), IsEmpty());
}

TEST(SourcesThatThePadDoesNotHave, AreLeftOut) {
    MappedPad pad("a:b12,b:a6,x:h2.1,y:b1023,start:b0");
    EXPECT_FALSE(pad.translator.Delivers(EV_KEY, 0));
    EXPECT_FALSE(pad.translator.Delivers(EV_KEY, 1));
    EXPECT_FALSE(pad.translator.Delivers(EV_KEY, 2));
    EXPECT_TRUE(pad.translator.Delivers(EV_KEY, 11));
    EXPECT_FALSE(pad.translator.RangeOf(ABS_X));
    EXPECT_FALSE(pad.translator.RangeOf(ABS_HAT0X));
    EXPECT_FALSE(pad.translator.RangeOf(0xffff));
    EXPECT_FALSE(pad.translator.Delivers(EV_SYN, 0));
}

}  // namespace
