#include <gtest/gtest.h>

#include <cstring>

#include "platform/aul.h"

namespace {

int OnStatus(int, int, void* data) {
    ++*static_cast<int*>(data);
    return 0;
}

TEST(ListeningForFocus, SucceedsAndHearsNothing) {
    int calls = 0;
    EXPECT_NE(aul_listen_app_status_signal(OnStatus, &calls), -1);
    EXPECT_NE(aul_listen_app_status_signal(nullptr, nullptr), -1);
    EXPECT_EQ(calls, 0);
}

TEST(AnApplicationsId, IsUnknownAndReadsAsEmpty) {
    char id[256];
    std::memset(id, 'x', sizeof id);
    EXPECT_NE(aul_app_get_appid_bypid(1, id, sizeof id), 0);
    EXPECT_STREQ(id, "");
    EXPECT_NE(aul_app_get_appid_bypid(1, nullptr, 256), 0);
    id[0] = 'x';
    EXPECT_NE(aul_app_get_appid_bypid(1, id, 0), 0);
    EXPECT_EQ(id[0], 'x');
}

TEST(AnApplicationsStatus, IsNeverFocused) {
    EXPECT_EQ(aul_app_get_status(""), -1);
    EXPECT_EQ(aul_app_get_status("x.desktop"), -1);
    EXPECT_EQ(aul_app_get_status(nullptr), -1);
}

}  // namespace
