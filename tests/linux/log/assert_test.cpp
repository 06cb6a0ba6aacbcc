#include "platform/assert.h"

#include <gtest/gtest.h>

#include "child_process.h"

namespace {

TEST(AnAssertion, IsOneErrorLineAndReturns) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [] {
        _ASSERT("FlagCreate() == true", "/somewhere/CSemaphore.cpp", 42);
        _ASSERT("pCb != NULL", "CallbackHandler.cpp", 7);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err,
              "error QVXD: CSemaphore.cpp(42) > assertion failed: FlagCreate() == true\n"
              "error QVXD: CallbackHandler.cpp(7) > assertion failed: pCb != NULL\n");
}

TEST(AnAssertion, TakesNullTexts) {
    const ChildOutput output = RunInChild({{"QUORVEX_LOG", "error"}}, [] { _ASSERT(nullptr, nullptr, 0); });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.err, "error QVXD: (null)(0) > assertion failed: (null)\n");
}

}  // namespace
