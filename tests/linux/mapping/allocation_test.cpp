// A program of its own, for it counts every allocation; sanitizers do so too and would be in its way.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "gamepad/mapping/mapping.h"
#include "pads.h"

using namespace mapping;

namespace {

std::size_t gAllocations = 0;

TEST(Translating, NeverAllocates) {
    const Line line = ParseLine("03000000c82d00000090000011010000,Pad,a:b0,leftx:a0,dpup:h0.1,dpdown:h0.4,-lefty:b1");
    Translator translator(*line.mapping, NumberedPad());
    const std::size_t before = gAllocations;
    std::size_t outputs = 0;
    for (int i = 0; i < 1000; ++i) {
        outputs += translator.Translate(EV_ABS, ABS_X, i * 30).size();
        outputs += translator.Translate(EV_KEY, BTN_TRIGGER, i % 2).size();
        outputs += translator.Translate(EV_ABS, ABS_HAT0Y, i % 3 - 1).size();
    }
    EXPECT_EQ(gAllocations, before);
    EXPECT_GT(outputs, 2900U);
}

}  // namespace

void* operator new(std::size_t size) {
    ++gAllocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
