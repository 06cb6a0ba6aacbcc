#include "title.h"

#include <gtest/gtest.h>

namespace {

TEST(ATitle, MatchesWithoutRegardToCase) {
    EXPECT_TRUE(Title("Starfall RACER").Matches("sTARFALL racer"));
    EXPECT_TRUE(Title("ÉTOILE").Matches("étoile"));
    EXPECT_TRUE(Title("STRASSE").Matches("Straße"));
    EXPECT_TRUE(Title("ΣΊΣΥΦΟΣ").Matches("Σίσυφος"));
}

TEST(ATitle, MatchesHoweverItsLettersAreWritten) {
    EXPECT_TRUE(Title("e\u0301toile").Matches("\u00e9toile"));
    EXPECT_TRUE(Title("Ｓｔａｒ").Matches("star"));
    EXPECT_TRUE(Title("of\uFB01ce").Matches("OFFICE") || Title("of\uFB01ce").Matches("oFIce"));
}

TEST(ATitle, MatchesWithoutRegardToBlanksAroundAndMoreOfThemInside) {
    EXPECT_TRUE(Title(" \tStarfall \n  Racer ").Matches("Starfall Racer"));
    EXPECT_TRUE(Title("Starfall\u00a0Racer").Matches("Starfall Racer"));
    EXPECT_FALSE(Title("StarfallRacer").Matches("Starfall Racer"));
}

TEST(ATitle, MatchesNothingButItself) {
    EXPECT_FALSE(Title("Starfall").Matches("Starfall Racer"));
    EXPECT_FALSE(Title("Starfall Racer").Matches("Starfall"));
    EXPECT_FALSE(Title("etoile").Matches("étoile"));
    EXPECT_FALSE(Title("Starfall").Matches(nullptr));
}

TEST(ATitle, OfNothingIsNobodys) {
    for (const char* const nothing : {"", " ", "\t\n", "\xff\xfe", "Star\xc3"}) {
        EXPECT_FALSE(Title(nothing).Matches(nothing));
    }
    EXPECT_FALSE(Title(nullptr).Matches(nullptr));
}

}  // namespace
