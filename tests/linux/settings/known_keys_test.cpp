#include "settings/known_keys.h"

#include <gtest/gtest.h>

namespace {

TEST(TheNearestKey, IsFoundForAMisspeltName) {
    EXPECT_STREQ(NearestKey("db/comss/contrycode").name, "db/comss/countrycode");
    EXPECT_STREQ(NearestKey("memory/acessory/playnest_statu").name, "memory/accessory/playnest_status");
}

TEST(TheNearestKey, IsFoundForTheLastPartAlone) {
    EXPECT_STREQ(NearestKey("screensaver").name, "memory/window_system/screensaver_on_off");
    EXPECT_STREQ(NearestKey("easywakeup").name, "db/menu/connection/easy-wakeup");
}

TEST(TheNearestKey, ExistsForAnything) {
    EXPECT_NE(NearestKey("").name, nullptr);
    EXPECT_NE(NearestKey(std::string(2000, '/')).name, nullptr);
}

TEST(AWordForANumberKey, IsAWholeDecimalNumberOf32Bits) {
    EXPECT_EQ(ValueFromWord(KeyType::kInt, "-2147483648"), Value(-2147483647 - 1));
    for (const char* word : {"", "x", "5x", " 5", "+5", "5.0", "2147483648", "0x5", "int32 5"}) {
        EXPECT_EQ(ValueFromWord(KeyType::kInt, word), std::nullopt) << word;
    }
}

TEST(AWordForABoolKey, IsTrueOrFalse) {
    EXPECT_EQ(ValueFromWord(KeyType::kBool, "true"), Value(true));
    EXPECT_EQ(ValueFromWord(KeyType::kBool, "false"), Value(false));
    for (const char* word : {"", "1", "0", "yes", "True", "true "}) {
        EXPECT_EQ(ValueFromWord(KeyType::kBool, word), std::nullopt) << word;
    }
}

TEST(AWordForATextKey, IsTakenAsItStands) {
    EXPECT_EQ(ValueFromWord(KeyType::kString, "'CN' "), Value(std::string("'CN' ")));
    EXPECT_EQ(ValueFromWord(KeyType::kString, ""), Value(std::string()));
    EXPECT_EQ(ValueFromWord(KeyType::kString, "\xff"), std::nullopt);
}

}  // namespace
