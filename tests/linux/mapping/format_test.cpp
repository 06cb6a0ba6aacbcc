#include "gamepad/mapping/format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace mapping;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

const std::string kGuid = "03000000c82d00000090000011010000";

Line Parse(const std::string& fields) {
    return ParseLine(kGuid + ",Some Pad," + fields);
}

Binding Only(const std::string& field) {
    const Line line = Parse(field);
    EXPECT_EQ(line.problem, "") << field;
    if (!line.mapping || line.mapping->bindings.size() != 1) {
        ADD_FAILURE() << field << " is not one binding";
        return {};
    }
    return line.mapping->bindings[0];
}

struct SourceCase {
    const char* text;
    SourceKind kind;
    int index;
    int hatMask;
    Range range;
};

class SourceForms : public testing::TestWithParam<SourceCase> {};

TEST_P(SourceForms, AreUnderstood) {
    const auto& expected = GetParam();
    const Source source = Only(std::string("leftx:") + expected.text).source;
    EXPECT_EQ(source.kind, expected.kind);
    EXPECT_EQ(source.index, expected.index);
    EXPECT_EQ(source.hatMask, expected.hatMask);
    EXPECT_EQ(source.range, expected.range);
}

INSTANTIATE_TEST_SUITE_P(All, SourceForms,
                         testing::Values(SourceCase{"b0", SourceKind::button, 0, 0, {0, 1}},
                                         SourceCase{"b122", SourceKind::button, 122, 0, {0, 1}},
                                         SourceCase{"a3", SourceKind::axis, 3, 0, {-32768, 32767}},
                                         SourceCase{"a3~", SourceKind::axis, 3, 0, {32767, -32768}},
                                         SourceCase{"+a12", SourceKind::axis, 12, 0, {0, 32767}},
                                         SourceCase{"-a1", SourceKind::axis, 1, 0, {0, -32768}},
                                         SourceCase{"+a1~", SourceKind::axis, 1, 0, {32767, 0}},
                                         SourceCase{"-a1~", SourceKind::axis, 1, 0, {-32768, 0}},
                                         SourceCase{"h0.1", SourceKind::hat, 0, 1, {0, 1}},
                                         SourceCase{"h3.12", SourceKind::hat, 3, 12, {0, 1}}));

class BadSources : public testing::TestWithParam<const char*> {};

TEST_P(BadSources, AreNamedAndTheRestOfTheLineCounts) {
    const std::string field = std::string("x:") + GetParam();
    const Line line = Parse("a:b0," + field + ",b:b1");
    ASSERT_TRUE(line.mapping);
    EXPECT_THAT(line.mapping->bindings, SizeIs(2));
    EXPECT_EQ(line.problem, '"' + field + "\" is not understood; this field is ignored");
}

INSTANTIATE_TEST_SUITE_P(All, BadSources,
                         testing::Values("b", "a", "h", "+", "-", "~", "b-1", "b1x", "b 1", "b99999999999999999999",
                                         "b1024", "+b1", "a1~~", "a~", "++a1", "+a", "h0", "h0.", "h.1", "h0.0",
                                         "h0.16", "h0.1.2", "q1", "1"));

TEST(Targets, AreAllKnownAndGoWhereTheyShould) {
    const std::vector<std::string> buttons{"a",
                                           "b",
                                           "x",
                                           "y",
                                           "back",
                                           "guide",
                                           "start",
                                           "leftstick",
                                           "rightstick",
                                           "leftshoulder",
                                           "rightshoulder",
                                           "dpup",
                                           "dpdown",
                                           "dpleft",
                                           "dpright",
                                           "misc1",
                                           "paddle1",
                                           "paddle2",
                                           "paddle3",
                                           "paddle4",
                                           "touchpad"};
    const std::vector<std::string> sticks{"leftx", "lefty", "rightx", "righty"};
    int expected = 0;
    for (const auto& name : buttons) {
        const Binding binding = Only(name + ":b1");
        EXPECT_EQ(static_cast<int>(binding.target), expected++) << name;
        EXPECT_EQ(binding.range, kSwitch) << name;
    }
    for (const auto& name : sticks) {
        EXPECT_EQ(static_cast<int>(Only(name + ":a1").target), expected++) << name;
        EXPECT_EQ(Only(name + ":a1").range, kWhole) << name;
        EXPECT_EQ(Only('+' + name + ":a1").range, kUpper) << name;
        EXPECT_EQ(Only('-' + name + ":a1").range, kLower) << name;
    }
    for (const std::string name : {"lefttrigger", "righttrigger"}) {
        EXPECT_EQ(static_cast<int>(Only(name + ":a1").target), expected++) << name;
        EXPECT_EQ(Only(name + ":a1").range, kUpper) << name;
    }
}

TEST(Targets, MayBeWrittenInCapitals) {
    EXPECT_EQ(Only("LeftShoulder:b4").target, Target::leftshoulder);
}

TEST(Targets, ThatAreUnknownAreNamed) {
    EXPECT_EQ(Parse("a:b0,leftknee:b1").problem, "\"leftknee:b1\" is not understood; this field is ignored");
    EXPECT_EQ(Parse("a:b0,+b:b1").problem, "\"+b:b1\" is not understood; this field is ignored");
}

TEST(Targets, WithoutASourceAreNotOnThePad) {
    const Line line = Parse("a:b0,guide:,leftx: ");
    EXPECT_EQ(line.problem, "");
    EXPECT_THAT(line.mapping->bindings, SizeIs(1));
}

TEST(Line, TakesGuidNameAndBindingsInTheirOrder) {
    const Line line = Parse("b:b1,a:b0,");
    ASSERT_TRUE(line.mapping);
    EXPECT_EQ(line.mapping->guid, *Guid::Parse(kGuid));
    EXPECT_EQ(line.mapping->name, "Some Pad");
    ASSERT_THAT(line.mapping->bindings, SizeIs(2));
    EXPECT_EQ(line.mapping->bindings[0].target, Target::b);
    EXPECT_EQ(line.mapping->checksum, std::nullopt);
}

TEST(Line, MayEndLikeOnOtherSystemsAndBeginWithAByteOrderMark) {
    EXPECT_TRUE(ParseLine("\xEF\xBB\xBF" + kGuid + ",x,a:b0\r").mapping);
    EXPECT_EQ(ParseLine(kGuid + ",x,a:b0,platform:Linux\r").problem, "");
}

TEST(Line, MayBeBlankOrAComment) {
    for (const std::string text : {"", "   ", "\r", "# a:b0", "  # x", "\xEF\xBB\xBF"}) {
        EXPECT_FALSE(ParseLine(text).mapping) << text;
        EXPECT_EQ(ParseLine(text).problem, "") << text;
    }
}

TEST(Line, OfAnotherPlatformIsPassedOverHoweverItLooks) {
    for (const std::string platform : {"Windows", "Mac OS X", "Android", "iOS", "LinuxX"}) {
        const Line line = Parse("a:b0,nonsense,platform:" + platform);
        EXPECT_FALSE(line.mapping) << platform;
        EXPECT_EQ(line.problem, "") << platform;
    }
    EXPECT_EQ(ParseLine("xinput,XInput Controller,a:b0,platform:Windows").problem, "");
    EXPECT_TRUE(Parse("a:b0,platform:linux").mapping);
}

TEST(Line, WithoutAGuidIsMalformed) {
    for (const std::string text :
         {"hello", "hello,x,a:b0", "03000000c82d0000009000001101000,x,a:b0", "03000000c82d000000900000110100000,x,a:b0",
          "g3000000c82d00000090000011010000,x,a:b0"}) {
        EXPECT_FALSE(ParseLine(text).mapping) << text;
        EXPECT_THAT(ParseLine(text).problem, HasSubstr("is not a GUID of 32 hexadecimal digits; the line is ignored"));
    }
}

TEST(Line, ThatAssignsNothingIsMalformed) {
    for (const std::string& text :
         {kGuid, kGuid + ",x", kGuid + ",x,", kGuid + ",x,platform:Linux", kGuid + ",x,q:b0"}) {
        EXPECT_FALSE(ParseLine(text).mapping) << text;
        EXPECT_EQ(ParseLine(text).problem, "no button or axis is assigned; the line is ignored") << text;
    }
}

TEST(Line, OfRubbishIsQuotedShortAndPrintable) {
    const std::string problem = ParseLine(std::string("\xff\xfe\x01\0\x1b[31m", 9) + std::string(100000, 'z')).problem;
    EXPECT_EQ(problem, "\"?????[31m" + std::string(31, 'z') +
                           "...\" is not a GUID of 32 hexadecimal digits; "
                           "the line is ignored");
}

TEST(Line, KeepsANameThatIsNotUtf8) {
    EXPECT_EQ(ParseLine(kGuid + ",\xff\xfe,a:b0").mapping->name, "\xff\xfe");
}

TEST(Line, MayAssignOneSourceOrTargetTwice) {
    EXPECT_THAT(Parse("a:b0,a:b1,b:b0").mapping->bindings, SizeIs(3));
}

TEST(Line, MayHoldFieldsThatSayNothingAboutButtons) {
    const Line line = Parse("a:b0,type:ps4,face:abxy,sdk>=:2000,misc2:b3,crc:0001,hint:NEVER_SET:=1");
    ASSERT_TRUE(line.mapping);
    EXPECT_THAT(line.mapping->bindings, SizeIs(1));
    EXPECT_EQ(line.problem, "");
}

TEST(Checksum, StandsInAFieldOrInTheGuid) {
    EXPECT_EQ(Parse("a:b0,crc:15b7").mapping->checksum, 0x15b7);
    const Line line = ParseLine("03001a2bc82d00000090000011010000,x,a:b0");
    EXPECT_EQ(line.mapping->checksum, 0x2b1a);
    EXPECT_EQ(line.mapping->guid, *Guid::Parse(kGuid));
}

TEST(Hints, SelectMappingsByPlaceAndNotByLabel) {
    EXPECT_TRUE(Parse("a:b0,hint:!SDL_GAMECONTROLLER_USE_BUTTON_LABELS:=1").mapping);
    const Line byLabel = Parse("a:b0,hint:SDL_GAMECONTROLLER_USE_BUTTON_LABELS:=1");
    EXPECT_FALSE(byLabel.mapping);
    EXPECT_EQ(byLabel.problem, "");
}

TEST(Hints, AreTakenFromTheEnvironmentElseFromTheLine) {
    EXPECT_TRUE(Parse("a:b0,hint:QUORVEX_TEST_HINT:=1").mapping);
    EXPECT_FALSE(Parse("a:b0,hint:QUORVEX_TEST_HINT:=0").mapping);
    EXPECT_FALSE(Parse("a:b0,hint:QUORVEX_TEST_HINT").mapping);
    setenv("QUORVEX_TEST_HINT", "1", 1);
    EXPECT_TRUE(Parse("a:b0,hint:QUORVEX_TEST_HINT:=0").mapping);
    EXPECT_FALSE(Parse("a:b0,hint:!QUORVEX_TEST_HINT").mapping);
    setenv("QUORVEX_TEST_HINT", "false", 1);
    EXPECT_FALSE(Parse("a:b0,hint:QUORVEX_TEST_HINT:=1").mapping);
    unsetenv("QUORVEX_TEST_HINT");
}

}  // namespace
