// Signals at moments that nobody chose: while the service starts, runs and stops.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <iostream>
#include <random>

#include "service.h"

namespace {

constexpr std::chrono::microseconds kWindow{300000};
// Starting takes far less than the window; half of the signals are for it.
constexpr std::chrono::microseconds kStartUp{20000};
// A service that does not begin to stop in this time was told before it had a loop to end.
constexpr milliseconds kNotice{2000};
// Not more: each takes three of the 128 inotify instances that a user has, and other tests run beside this one.
constexpr unsigned kStartsPerProcessor = 1;

unsigned long Setting(const char* name, unsigned long otherwise) {
    const char* text = getenv(name);
    return text != nullptr && *text != '\0' ? strtoul(text, nullptr, 10) : otherwise;
}

bool Quick() {
    const char* quick = getenv("QUORVEX_TEST_QUICK");
    return quick != nullptr && *quick != '\0';
}

class RuntimeFolder {
public:
    RuntimeFolder() : path_((std::filesystem::temp_directory_path() / "start-stop-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no folder for the service");
        }
    }
    ~RuntimeFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    // Real keys where the machine has what they need.
    ServiceOptions Options() const {
        ServiceOptions options;
        options.environment = {"QUORVEX_LOG=info", "HOME=" + path_, "XDG_RUNTIME_DIR=" + path_};
        if (access("/dev/uinput", W_OK) != 0) {
            options.environment.emplace_back("QUORVEX_KEYS=print");
        }
        return options;
    }

private:
    std::string path_;
};

struct Counts {
    std::atomic<unsigned> endedAtFirst{0};
    std::atomic<unsigned> endedAtSecond{0};
};

std::chrono::microseconds RandomMoment(std::mt19937& random) {
    const auto limit = random() % 2 == 0 ? kWindow : kStartUp;
    return std::chrono::microseconds(std::uniform_int_distribution<long>(0, limit.count())(random));
}

bool HasStarted(Service& service) {
    return service.Prints("quorvex Start") &&
           Until([&] { return service.HandlesSignals(); }, kPatience, milliseconds(0));
}

void StartAndStop(const RuntimeFolder& folder, std::mt19937& random, Counts& counts) {
    Service service(folder.Options());
    ASSERT_TRUE(HasStarted(service)) << service.Tail();
    const auto moment = RandomMoment(random);
    SCOPED_TRACE(testing::Message() << "SIGTERM after " << moment.count() << " us");
    std::this_thread::sleep_for(moment);
    service.Signal(SIGTERM);
    if (service.Prints("unref gmain loop", 0, kNotice)) {
        EXPECT_EQ(service.ExitStatus(), 0) << service.Tail();
        EXPECT_EQ(service.Count("Received Signal[15]"), 1U) << service.Tail();
        ++counts.endedAtFirst;
        return;
    }
    EXPECT_EQ(service.ExitStatus(milliseconds(0)), std::nullopt) << "it ended without a loop\n" << service.Tail();
    EXPECT_EQ(service.Count("Received Signal[15]"), 1U) << service.Tail();
    service.Signal(SIGTERM);
    EXPECT_EQ(service.ExitStatus(), 0) << service.Tail();
    ++counts.endedAtSecond;
}

TEST(StartStop, ASigtermAtAnyMomentEndsItAtOnceOrAtTheSecond) {
    const unsigned long starts = Setting("QUORVEX_STARTS", Quick() ? 100 : 1000);
    const unsigned long seed = Setting("QUORVEX_SEED", std::random_device{}());
    std::cout << "seed " << seed << std::endl;
    Counts counts;
    std::atomic<unsigned long> next{0};
    std::vector<std::thread> workers;
    const auto atOnce = Setting("QUORVEX_STARTS_AT_ONCE", kStartsPerProcessor * std::thread::hardware_concurrency());
    for (unsigned long worker = 0; worker < atOnce; ++worker) {
        workers.emplace_back([&] {
            const RuntimeFolder folder;
            for (unsigned long number = 0; (number = next++) < starts && !testing::Test::HasFailure();) {
                std::mt19937 random(static_cast<std::mt19937::result_type>(seed + number));
                StartAndStop(folder, random, counts);
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    std::cout << starts << " starts: " << counts.endedAtFirst << " ended at the first SIGTERM, " << counts.endedAtSecond
              << " at a second one\n";
    EXPECT_EQ(counts.endedAtFirst + counts.endedAtSecond, starts);
}

TEST(StartStop, ABurstOfSignalsEndsItOnce) {
    constexpr int kSignals = 2000;
    const RuntimeFolder folder;
    Service service(folder.Options());
    ASSERT_TRUE(HasStarted(service)) << service.Tail();
    for (int i = 0; i < kSignals; ++i) {
        service.Signal(i % 2 == 0 ? SIGTERM : SIGUSR1);
    }
    if (!service.Prints("unref gmain loop", 0, kNotice)) {
        service.Signal(SIGTERM);
    }
    EXPECT_EQ(service.ExitStatus(), 0) << service.Tail();
    EXPECT_EQ(service.Count("quorvex Exit"), 1U);
}

}  // namespace
