// The bindings of buttons to applications: loading the file, and looking a pressed button up.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "AppLauncher.h"
#include "null_platform.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFirstButton = 1000;

void WriteEntry(std::ofstream& file, int number) {
    file << (number > 0 ? "," : "") << R"({"key_code":)" << kFirstButton + number << R"(,"runtitle":"title)" << number
         << R"(","virtual_key":36})";
}

/// The argument is the number of entries in the file.
class Launcher : public benchmark::Fixture {
public:
    void SetUp(benchmark::State& state) override {
        null_platform::folder = fs::temp_directory_path() / "quorvex-bench-XXXXXX";
        if (mkdtemp(null_platform::folder.data()) == nullptr) {
            state.SkipWithError("no folder");
        }
        fs::create_directories(null_platform::folder + "/accessory");
        std::ofstream file(null_platform::folder + "/accessory/app_config.json");
        file << R"({"global_config":[)";
        for (int number = 0; number < state.range(0); ++number) {
            WriteEntry(file, number);
        }
        file << "]}";
    }
    void TearDown(benchmark::State&) override { fs::remove_all(null_platform::folder); }
};

BENCHMARK_DEFINE_F(Launcher, Load)(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        AppLauncher launcher;
        launcher.Initialize();
        launcher.DeInitialize();
    }
}

void Check(benchmark::State& state, int button, bool isBound) {
    AppLauncher launcher;
    launcher.Initialize();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(launcher.LaunchAppCheck(button));
    }
    if (launcher.LaunchAppCheck(button) != isBound) {
        state.SkipWithError("the file was not read");
    }
    launcher.DeInitialize();
}

BENCHMARK_DEFINE_F(Launcher, Hit)(benchmark::State& state) {
    Check(state, kFirstButton, true);
}
BENCHMARK_DEFINE_F(Launcher, Miss)(benchmark::State& state) {
    Check(state, 0, false);
}

BENCHMARK_REGISTER_F(Launcher, Load)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK_REGISTER_F(Launcher, Hit)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK_REGISTER_F(Launcher, Miss)->Arg(10)->Arg(1000)->Arg(100000);

}  // namespace
