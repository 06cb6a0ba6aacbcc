#include "Utf8.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

/// What is wrong with the text, or nothing.
std::string Complaint(const std::string& text) {
    std::istringstream stream(text);
    std::string error;
    const bool valid = IsUtf8(stream, error);
    EXPECT_EQ(valid, error.empty());
    return error;
}

TEST(Utf8Text, IsAcceptedInEveryCharacterLength) {
    EXPECT_EQ(Complaint(""), "");
    EXPECT_EQ(Complaint("plain\ntext"), "");
    EXPECT_EQ(Complaint("\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x8E\xAE"), "");
}

TEST(Utf8Text, IsRefusedWithThePlaceOfTheFirstBrokenByte) {
    EXPECT_EQ(Complaint("ab\xFF"), "Line 1, Column 3: not UTF-8");
    EXPECT_EQ(Complaint("one\ntwo\n x\x80y"), "Line 3, Column 3: not UTF-8");
}

TEST(Utf8Text, IsRefusedForOverlongSurrogateAndTooLargeCharacters) {
    EXPECT_NE(Complaint("\xC0\xAF"), "");
    EXPECT_NE(Complaint("\xED\xA0\x80"), "");
    EXPECT_NE(Complaint("\xF4\x90\x80\x80"), "");
}

TEST(Utf8Text, IsRefusedWhenItEndsInsideACharacter) {
    EXPECT_EQ(Complaint("abc\xE2\x82"), "Line 1, Column 4: not UTF-8");
}

TEST(Utf8Text, MayHaveCharactersAcrossItsBlocks) {
    for (size_t length = 4090; length < 4102; ++length) {
        std::string text(length, 'x');
        text += "\xF0\x9F\x8E\xAE";
        EXPECT_EQ(Complaint(text), "") << length;
        text += "\n\xF0\x9F\xFF";
        EXPECT_EQ(Complaint(text), "Line 2, Column 1: not UTF-8") << length;
    }
}

}  // namespace
