// The service's semaphores, which share one lock, beside the library's and beside a lock of their own.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <semaphore>
#include <thread>

#include "CThread/CSemaphore.h"

namespace {

struct Ours {
    Ours() { semaphore.Create(0); }
    ~Ours() { semaphore.Destroy(); }
    void Give() { semaphore.Give(); }
    void Take() { semaphore.Take(); }
    bool Try() { return semaphore.Try(0); }

    CSemaphore semaphore;
};

struct Standard {
    void Give() { semaphore.release(); }
    void Take() { semaphore.acquire(); }
    bool Try() { return semaphore.try_acquire(); }

    std::counting_semaphore<> semaphore{0};
};

struct Bare {
    void Give() {
        const std::lock_guard lock(mutex);
        ++count;
        given.notify_one();
    }
    void Take() {
        std::unique_lock lock(mutex);
        given.wait(lock, [this] { return count > 0; });
        --count;
    }
    bool Try() {
        const std::lock_guard lock(mutex);
        return count > 0 && count-- > 0;
    }

    std::mutex mutex;
    std::condition_variable given;
    int count = 0;
};

template <typename Semaphore>
void GiveAndTake(benchmark::State& state) {
    Semaphore semaphore;
    for ([[maybe_unused]] auto _ : state) {
        semaphore.Give();
        semaphore.Take();
    }
}
BENCHMARK_TEMPLATE(GiveAndTake, Ours);
BENCHMARK_TEMPLATE(GiveAndTake, Standard);
BENCHMARK_TEMPLATE(GiveAndTake, Bare);

template <typename Semaphore>
void TryInVain(benchmark::State& state) {
    Semaphore semaphore;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(semaphore.Try());
    }
}
BENCHMARK_TEMPLATE(TryInVain, Ours);
BENCHMARK_TEMPLATE(TryInVain, Standard);
BENCHMARK_TEMPLATE(TryInVain, Bare);

// To another thread and back.
template <typename Semaphore>
void ThereAndBack(benchmark::State& state) {
    Semaphore there;
    Semaphore back;
    std::atomic<bool> ends{false};
    std::thread other([&] {
        for (there.Take(); !ends; there.Take()) {
            back.Give();
        }
    });
    for ([[maybe_unused]] auto _ : state) {
        there.Give();
        back.Take();
    }
    ends = true;
    there.Give();
    other.join();
}
BENCHMARK_TEMPLATE(ThereAndBack, Ours)->UseRealTime();
BENCHMARK_TEMPLATE(ThereAndBack, Standard)->UseRealTime();
BENCHMARK_TEMPLATE(ThereAndBack, Bare)->UseRealTime();

// Each thread its own semaphore, all of them under the lock that they share.
void OneForEachThread(benchmark::State& state) {
    static std::array<Ours, 16> all;
    Ours& own = all[static_cast<std::size_t>(state.thread_index())];
    for ([[maybe_unused]] auto _ : state) {
        own.Give();
        own.Take();
    }
}
BENCHMARK(OneForEachThread)->ThreadRange(1, 16)->UseRealTime();

}  // namespace
