#include "log/log_level.h"

#include <gtest/gtest.h>

#include "platform/dlog.h"

namespace {

TEST(LogLevel, EachWordNamesItsLevelWhereverTheLogGoes) {
    for (const bool terminal : {false, true}) {
        EXPECT_EQ(LogLevelFrom("debug", terminal).least, DLOG_DEBUG);
        EXPECT_EQ(LogLevelFrom("info", terminal).least, DLOG_INFO);
        EXPECT_EQ(LogLevelFrom("error", terminal).least, DLOG_ERROR);
        EXPECT_TRUE(LogLevelFrom("error", terminal).understood);
    }
}

TEST(LogLevel, WithoutASettingAPersonSeesMoreThanACollector) {
    for (const char* unset : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(LogLevelFrom(unset, true).least, DLOG_INFO);
        EXPECT_EQ(LogLevelFrom(unset, false).least, DLOG_ERROR);
        EXPECT_TRUE(LogLevelFrom(unset, true).understood);
    }
}

TEST(LogLevel, AnyOtherValueIsNotUnderstoodAndLeavesTheDefault) {
    for (const char* wrong : {"verbose", "INFO", "info ", "4", "debugger"}) {
        EXPECT_FALSE(LogLevelFrom(wrong, true).understood) << wrong;
        EXPECT_EQ(LogLevelFrom(wrong, true).least, DLOG_INFO) << wrong;
        EXPECT_EQ(LogLevelFrom(wrong, false).least, DLOG_ERROR) << wrong;
    }
}

TEST(LogLevel, PrioritiesBetweenTwoLevelsCountAsTheLower) {
    EXPECT_STREQ(LogLevelName(0), "debug");
    EXPECT_STREQ(LogLevelName(5), "info");
    EXPECT_STREQ(LogLevelName(7), "error");
}

}  // namespace
