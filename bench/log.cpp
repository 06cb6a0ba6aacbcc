// One message: below the level, and written to a file.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "Log.h"

namespace {

void BelowTheLevel(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        LOGI("Get a event[%llu,%d,%d,%ld]", 1234567890ULL, 1, 0, 1L);
    }
}
BENCHMARK(BelowTheLevel);

void Written(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        LOGE("Get a event[%llu,%d,%d,%ld]", 1234567890ULL, 1, 0, 1L);
    }
}
BENCHMARK(Written);

}  // namespace

int main(int count, char** words) {
    setenv("QUORVEX_LOG", "error", /*overwrite=*/1);
    benchmark::Initialize(&count, words);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
