#include "log/log_text.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::string Shown(const std::string& text) {
    LogText line;
    line.Append(text.data(), text.size());
    return {line.Data(), line.Size()};
}

TEST(LogText, ShowsPlainTextAndEveryLanguageAsTheyAre) {
    for (const char* text : {"", "plain ~ text \\ 100 %",
                             "Gr\xc3\xb6\xc3\x9f"
                             "e \xe2\x9c\x93 \xf0\x9f\x8e\xae"}) {
        EXPECT_EQ(Shown(text), text);
    }
}

TEST(LogText, EscapesWhatWouldBreakTheLineOrATerminal) {
    EXPECT_EQ(Shown("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(Shown("\x1b[2J\x7f"), "\\x1b[2J\\x7f");
    EXPECT_EQ(Shown(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(Shown("\xc2\x9b"), "\\xc2\\x9b");  // a control sequence in one character
}

TEST(LogText, EscapesBytesThatAreNoUtf8) {
    EXPECT_EQ(Shown("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(Shown("\xc3"), "\\xc3");                    // ends too early
    EXPECT_EQ(Shown("\xc0\xaf"), "\\xc0\\xaf");           // a longer form of "/"
    EXPECT_EQ(Shown("\xed\xa0\x80"), "\\xed\\xa0\\x80");  // half of a pair
    EXPECT_EQ(Shown("\xe2\x82 x"), "\\xe2\\x82 x");
}

TEST(LogText, EveryByteValueEndsInOneLineOfValidUtf8) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const std::string shown = Shown(all);
    EXPECT_EQ(shown.find('\n'), std::string::npos);
    EXPECT_TRUE(g_utf8_validate(shown.data(), static_cast<gssize>(shown.size()), nullptr));
}

TEST(LogText, CutsBetweenTwoCharactersAndSaysSo) {
    for (size_t offset = 0; offset < 4; ++offset) {
        std::string text(offset, 'x');
        while (text.size() < 2 * LogText::kCapacity) {
            text += "\xf0\x9f\x8e\xae";
        }
        const std::string shown = Shown(text);
        ASSERT_LT(shown.size(), LogText::kCapacity);
        EXPECT_EQ(shown.substr(shown.size() - 6), " [cut]");
        EXPECT_TRUE(g_utf8_validate(shown.data(), static_cast<gssize>(shown.size()), nullptr)) << offset;
    }
}

TEST(LogText, FillsTheLineToTheLastByteBeforeItCuts) {
    const size_t room = LogText::kCapacity - 7;  // " [cut]" and the line's end
    EXPECT_EQ(Shown(std::string(room, 'x')), std::string(room, 'x'));
    EXPECT_EQ(Shown(std::string(room + 1, 'x')), std::string(room, 'x') + " [cut]");
}

TEST(LogText, StaysAsItIsOnceCutOrEnded) {
    LogText line;
    line.Append(std::string(LogText::kCapacity, 'x').c_str());
    line.EndLine();
    const size_t size = line.Size();
    line.Append("more");
    EXPECT_EQ(line.Size(), size);
    EXPECT_EQ(line.Size(), LogText::kCapacity);
    EXPECT_EQ(line.Data()[size - 1], '\n');
}

}  // namespace
