#include "settings/value.h"

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class TheTextOf : public ::testing::TestWithParam<Value> {};

TEST_P(TheTextOf, ReadsBackAsTheSameValueOfTheSameType) {
    EXPECT_EQ(ParseValue(FormatValue(GetParam())), GetParam());
}

TEST_P(TheTextOf, IsOneLine) {
    EXPECT_THAT(FormatValue(GetParam()), Not(HasSubstr("\n")));
}

INSTANTIATE_TEST_SUITE_P(Values, TheTextOf,
                         ::testing::Values(Value(0), Value(5), Value(-1), Value(INT_MIN), Value(INT_MAX), Value(true),
                                           Value(false), Value(std::string()), Value(std::string("CN")),
                                           Value(std::string("it's \"both\" \\ and\na line\ttab")),
                                           Value(std::string("\x01\x7f")), Value(std::string("日本 é 😀"))));

TEST(TheTextForm, NamesTheType) {
    EXPECT_EQ(FormatValue(5), "int32 5");
    EXPECT_EQ(FormatValue(true), "true");
    EXPECT_EQ(FormatValue(std::string("CN")), "'CN'");
}

TEST(TheTextForm, MayBeWhatPeopleWrite) {
    EXPECT_EQ(ParseValue("5"), Value(5));
    EXPECT_EQ(ParseValue("5\n"), Value(5));
    EXPECT_EQ(ParseValue("  int32   -7 \r\n\n"), Value(-7));
    EXPECT_EQ(ParseValue("0x10"), Value(16));
    EXPECT_EQ(ParseValue("\"CN\"\n"), Value(std::string("CN")));
}

class NoValueIs : public ::testing::TestWithParam<std::string> {};

TEST_P(NoValueIs, ThisText) {
    EXPECT_EQ(ParseValue(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Texts, NoValueIs,
                         ::testing::Values("", "\n", "abc", "CN", "5 6", "'open", "int32", "int32 'a'", "2147483648",
                                           "5.0", "uint32 5", "int64 5", "byte 5", "[1, 2]", "{'a': 1}", "<5>",
                                           "just 5", "nothing", "@ai []", "objectpath '/a'", "truefalse", "TRUE",
                                           std::string("5\0", 2),
                                           std::string("5\0"
                                                       "6",
                                                       3),
                                           "'\xff\xfe'", "\xff", std::string(5000, '['), std::string(5000, '<'),
                                           std::string(5000, '(')));

// Whatever stands in a file must end in a value or in none: no crash, no complaint of GLib's.
TEST(RubbishIsReadWithoutHarm, ForManyMutationsOfRightTexts) {
    const GLogLevelFlags before = g_log_set_always_fatal(
        static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    std::mt19937 random(20240611);
    const std::vector<std::string> seeds = {"int32 5", "'C\\u0041\\n'", "true", "@a{sv} {'a': <[1.5e3]>}", "b'bytes'"};
    const std::string alphabet = "0159'\"\\@[]{}()<>,:;%abisuvxmnthoj \n\t-+.xe";
    size_t values = 0;
    for (int round = 0; round < 50000; ++round) {
        std::string text = seeds[random() % seeds.size()];
        for (size_t edits = 1 + random() % 4; edits > 0; --edits) {
            const size_t at = random() % (text.size() + 1);
            const char c = random() % 8 == 0 ? static_cast<char>(random() % 256) : alphabet[random() % alphabet.size()];
            random() % 2 == 0 || at == text.size() ? text.insert(at, 1, c) : text.replace(at, 1, 1, c);
        }
        values += ParseValue(text) ? 1 : 0;
    }
    EXPECT_GT(values, 100U);
    EXPECT_LT(values, 49000U);
    g_log_set_always_fatal(before);
}

TEST(AQuotedText, IsShortPrintableAndOnOneLine) {
    EXPECT_EQ(Quoted("a\"b\n\x01\xff"), R"("a\"b\n\001\377")");
    EXPECT_EQ(Quoted(std::string("a\0b", 3)), R"("a\000...")");
    EXPECT_EQ(Quoted(std::string(1000, 'x')), '"' + std::string(60, 'x') + "...\"");
}

}  // namespace
