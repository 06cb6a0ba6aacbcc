// Measures one program that turns a pad's south button into the Enter key.
//   side_by_side NAME OUTPUT [SETTING=TEXT]... PROGRAM [ARGUMENT]...
// The word PAD in an argument stands for the pad's node. Prints lines "NAME <tab> figure <tab> value": times in
// microseconds, memory in KiB. OUTPUT gets what the program prints.
#include <sched.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>

#include "program.h"
#include "work.h"

namespace {

constexpr std::chrono::seconds kDuration{10};
constexpr std::chrono::seconds kSettling{2};
constexpr int kPairs = 1000;
constexpr int kStickRate = 125;   // as a wired pad reports
constexpr int kFloodRate = 1000;  // as a fast wireless pad does
constexpr milliseconds kTry{200};
constexpr milliseconds kDeafness{90000};  // xboxdrv waits for USB devices alone in its first minute

using Figures = std::function<void(const char*, double)>;

double Microseconds(std::chrono::nanoseconds time) {
    return static_cast<double>(time.count()) / 1000;
}

// Programs that ask udevd what a node is would otherwise find a pad that is not classified yet.
void AwaitUdevd(const UinputPad& pad) {
    struct stat node {};
    stat(pad.Node().c_str(), &node);
    const auto record =
        "/run/udev/data/c" + std::to_string(major(node.st_rdev)) + ":" + std::to_string(minor(node.st_rdev));
    if (!Until([&record] { return std::filesystem::exists(record); })) {
        throw std::runtime_error("udevd does not see the pad");
    }
}

void AwaitReady(UinputPad& pad, Keyboard& keyboard) {
    const auto answers = [&] {
        pad.Press(BTN_SOUTH);
        const bool pressed = keyboard.WaitForPress(kTry);
        pad.Release(BTN_SOUTH);
        return pressed;
    };
    if (!Until(answers, kDeafness)) {
        throw std::runtime_error("no key comes");
    }
    std::this_thread::sleep_for(kSettling);
    keyboard.Forget();
}

void MeasureStart(const Program& program, Keyboard& keyboard, Clock::time_point start, const Figures& figures) {
    if (!keyboard.Wait()) {
        throw std::runtime_error("no keyboard comes");
    }
    figures("start-cpu", Microseconds(program.ProcessorTime()));
    figures("start-time", Microseconds(Clock::now() - start));
}

// The processor time of what happens in `work`.
void MeasureWork(const Program& program, const char* figure, const Figures& figures,
                 const std::function<void()>& work) {
    const auto before = program.ProcessorTime();
    work();
    figures(figure, Microseconds(program.ProcessorTime() - before));
}

void MeasureIdle(const Program& program, const Figures& figures) {
    const long before = program.VoluntarySwitches();
    MeasureWork(program, "idle-cpu", figures, [] { std::this_thread::sleep_for(kDuration); });
    figures("idle-switches", static_cast<double>(program.VoluntarySwitches() - before) / kDuration.count());
}

void TellLatencies(std::vector<Clock::duration> latencies, const Figures& figures) {
    if (latencies.empty()) {
        return;
    }
    std::sort(latencies.begin(), latencies.end());
    const auto at = [&](double part) {
        const auto last = static_cast<double>(latencies.size() - 1);
        return Microseconds(latencies[static_cast<std::size_t>(part * last)]);
    };
    figures("latency-min", at(0));
    figures("latency-p50", at(0.5));
    figures("latency-p90", at(0.9));
    figures("latency-p99", at(0.99));
    figures("latency-max", at(1));
}

void MeasurePairs(const Program& program, UinputPad& pad, Keyboard& keyboard, const Figures& figures) {
    Delivery delivery{};
    MeasureWork(program, "pairs-cpu", figures, [&] { delivery = PressAndRelease(pad, keyboard, kPairs); });
    TellLatencies(delivery.latencies, figures);
    figures("keys-lost", delivery.lost);
}

void MeasureFlood(const Program& program, UinputPad& pad, Keyboard& keyboard, const Figures& figures) {
    Delivery delivery{};
    MeasureWork(program, "flood-cpu", figures, [&] { delivery = Flood(pad, keyboard, kFloodRate, kDuration); });
    figures("flood-lost", delivery.lost);
    if (!delivery.latencies.empty()) {
        figures("flood-latency", Microseconds(delivery.latencies[0]));
    }
}

void MeasureMemory(const Program& program, const Figures& figures) {
    figures("threads", static_cast<double>(program.Threads()));
    figures("pss", static_cast<double>(program.ProportionalKiB()));
    figures("own-memory", static_cast<double>(program.OwnKiB()));
}

void Measure(const std::vector<std::string>& words, const char* output, const Figures& figures) {
    UinputPad pad(CommonPad());
    AwaitUdevd(pad);
    std::vector<std::string> command = words;
    std::replace(command.begin(), command.end(), std::string("PAD"), pad.Node());
    Keyboard keyboard;
    const auto start = Clock::now();
    Program program(command, output);
    MeasureStart(program, keyboard, start, figures);
    AwaitReady(pad, keyboard);
    MeasureIdle(program, figures);
    MeasurePairs(program, pad, keyboard, figures);
    MeasureWork(program, "stick-cpu", figures, [&] { MoveAStick(pad, kStickRate, kDuration); });
    MeasureFlood(program, pad, keyboard, figures);
    figures("keys-stuck", keyboard.Held());
    MeasureMemory(program, figures);
    figures("end-time", Microseconds(program.End()));
}

}  // namespace

int main(int count, char** words) try {
    if (count < 4) {
        std::fprintf(stderr, "usage: side_by_side NAME OUTPUT [SETTING=TEXT]... PROGRAM [ARGUMENT]...\n");
        return 2;
    }
    // It must see and act in time whatever the program does.
    const sched_param first{50};
    sched_setscheduler(0, SCHED_FIFO, &first);
    Measure({words + 3, words + count}, words[2], [words](const char* figure, double value) {
        std::printf("%s\t%s\t%.1f\n", words[1], figure, value);
        std::fflush(stdout);
    });
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", words[1], failure.what());
    return 1;
}
