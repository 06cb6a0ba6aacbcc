#include "virtual_key/print_sink.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/virtual_key.h"

namespace {

class APrintSink : public ::testing::Test {
protected:
    APrintSink() { EXPECT_EQ(pipe(ends_), 0); }
    ~APrintSink() override {
        close(ends_[0]);
        close(ends_[1]);
    }

    std::string Printed() {
        std::array<char, 4096> buffer;
        const ssize_t count = read(ends_[0], buffer.data(), buffer.size());
        return {buffer.data(), count > 0 ? static_cast<size_t>(count) : 0};
    }

    int ends_[2];
};

TEST_F(APrintSink, PrintsEachActionAtOnce) {
    PrintSink sink(ends_[1]);
    EXPECT_EQ(sink.Send(36, KEY_ACTION_PRESS), 0);
    EXPECT_EQ(Printed(), "KEY_ENTER 36 press\n");
    EXPECT_EQ(sink.Send(36, KEY_ACTION_RELEASE), 0);
    EXPECT_EQ(Printed(), "KEY_ENTER 36 release\n");
    EXPECT_EQ(sink.Send(572, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_EQ(Printed(), "REMOTE_PLAYDECK 572 press+release\n");
}

TEST_F(APrintSink, FailsWhereNobodyReads) {
    PrintSink sink(ends_[1]);
    close(ends_[0]);
    EXPECT_EQ(sink.Send(36, KEY_ACTION_PRESS), -EIO);
    ends_[0] = -1;
}

}  // namespace
