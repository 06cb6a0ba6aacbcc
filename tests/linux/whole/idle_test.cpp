// What the program does, and what it needs, while nothing happens.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <utility>

#include "desktop.h"
#include "whole_program.h"

namespace {

constexpr char kDispatcher[] = "GamepadEventDis";
constexpr int kSettling = 40;  // passes after which what was under way has come to its end
constexpr milliseconds kObservation{120000};
constexpr milliseconds kBetweenLooks{500};
constexpr int kPasses = 150;  // of 50 ms and a little more: some ten seconds

/// How often each thread has made each call.
using Calls = std::map<std::string, std::map<std::string, int>>;

std::map<pid_t, std::string> ThreadsOf(pid_t process) {
    std::map<pid_t, std::string> threads;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        threads[std::stoi(task.path().filename())] = name;
    }
    return threads;
}

/// What a process does, call by call, from now on.
class Trace {
public:
    Trace(pid_t process, std::string file)
        : file_(std::move(file)),
          threads_(ThreadsOf(process)),
          tracer_({"strace", "-f", "-qq", "-o", file_, "-p", std::to_string(process)}) {}

    /// The finished calls in so many passes of the dispatcher, after the first ones in a row in which nobody else made
    /// a call; nothing before there are so many.
    std::optional<Calls> After(int settling, int passes) const {
        Calls calls;
        std::ifstream lines(file_);
        int quiet = 0;
        for (std::string line; passes > 0 && std::getline(lines, line);) {
            const auto [thread, call] = Finished(line);
            const int pass = thread == kDispatcher && line.find("tv_nsec=50000000") != std::string::npos ? 1 : 0;
            if (quiet < settling) {
                quiet = thread == kDispatcher || call.empty() ? quiet + pass : 0;
                continue;
            }
            if (!call.empty()) {
                ++calls[thread][call];
            }
            passes -= pass;
        }
        return passes == 0 ? std::optional<Calls>(calls) : std::nullopt;
    }

private:
    // As in "4711 poll([...], 2, -1) = 1" or "4711 <... poll resumed>) = 1"; no name when the call goes on.
    std::pair<std::string, std::string> Finished(const std::string& line) const {
        static const std::regex kForm("^([0-9]+) +(?:<\\.\\.\\. )?([a-z0-9_]+).*");
        std::smatch parts;
        if (!std::regex_match(line, parts, kForm)) {
            return {};
        }
        const auto thread = threads_.find(std::stoi(parts[1]));
        const bool isFinished = line.find(") = ") != std::string::npos || line.find(")  ") != std::string::npos;
        return {thread != threads_.end() ? thread->second : "a new thread", isFinished ? parts[2].str() : ""};
    }

    const std::string file_;
    const std::map<pid_t, std::string> threads_;
    const Program tracer_;
};

class Idle : public WholeProgram {
protected:
    /// Where nobody else makes files: changes of settings are watched for in all folders above them.
    void StartApart() {
        environment_["XDG_RUNTIME_DIR"] = "/run/quorvex-test";
        environment_["HOME"] = "/run/quorvex-test";
        StartAfter("mount -t tmpfs tmpfs /run; mkdir /run/quorvex-test");
    }

    /// What it does in kPasses passes.
    Calls Observe() {
        const Trace trace(Running().Pid(), folder_.Path("trace"));
        std::optional<Calls> calls;
        EXPECT_TRUE(
            Until([&] { return (calls = trace.After(kSettling, kPasses)).has_value(); }, kObservation, kBetweenLooks));
        for (const auto& [thread, count] : calls.value_or(Calls{})) {
            for (const auto& [call, times] : count) {
                std::cout << thread << ": " << call << ' ' << times << std::endl;
            }
        }
        return calls.value_or(Calls{});
    }
};

/// Nothing but a sleep for each pass and a read of each pad. The testbed, which stands in for the kernel, asks before
/// each read in two messages what there is to read, and gives way to others.
void ExpectPasses(Calls calls, int pads) {
    const int reads = pads * kPasses;
    std::map<std::string, int>& made = calls[kDispatcher];
    EXPECT_NEAR(made["clock_nanosleep"], kPasses + reads, 1 + pads);
    EXPECT_NEAR(made["read"], reads, pads);
    EXPECT_NEAR(made["sendto"], 2 * reads, 2 * pads);
    EXPECT_NEAR(made["recvfrom"], 2 * reads, 2 * pads);
    for (const char* const call : {"clock_nanosleep", "read", "sendto", "recvfrom"}) {
        made.erase(call);
    }
    EXPECT_THAT(made, testing::IsEmpty());
    calls.erase(kDispatcher);
    calls.erase("GamepadMonitor");  // it may be half a minute since it woke up
    EXPECT_THAT(calls, testing::IsEmpty());
}

class WithPads : public Idle, public testing::WithParamInterface<int> {};

TEST_P(WithPads, APassIsOneSleepAndOneReadOfEach) {
    Plug(GetParam());
    StartApart();
    ExpectPasses(Observe(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Pads, WithPads, testing::Values(0, 1, 4));

class WithEverythingConnected : public Idle {
protected:
    void SetUp() override {
        for (const auto& [name, value] : desktop_.Variables()) {
            environment_[name] = value;
        }
        Plug();
        StartApart();
        const Window window;
        Expect("Process[" + std::to_string(window.Pid()) + "]'s status change to: AUL_PROC_STATUS_FOCUS");
        Child game = desktop_.Games().Game();
        Expect("Get GameApp status change callback! type[0]");
        game.Kill();
        Expect("Get GameApp status change callback! type[1]");
        Desktop::ShowSaver();
        Expect("screensaver is ON");
        ExpectKeys();
        Expect("screensaver is NOT ON");
        MockedLogind::AnnounceSleep(true);
        Expect("Enter[PowerOffCallback]");
        MockedLogind::AnnounceSleep(false);
        ASSERT_TRUE(WaitUntil([] { return MockedLogind::Inhibitors() == 1; }));
        // GameMode itself finds a killed game some seconds later, and tells of it.
        ASSERT_TRUE(WaitUntil(&WithEverythingConnected::HasNoGames));
    }
    static bool HasNoGames() {
        return OutputOf(
                   "gdbus call --session --dest com.feralinteractive.GameMode --object-path "
                   "/com/feralinteractive/GameMode --method com.feralinteractive.GameMode.ListGames")
                   .find("[]") != std::string::npos;
    }
    void Expect(const std::string& text) { ASSERT_TRUE(Running().Prints(text)) << text << '\n' << Running().Tail(); }

    Desktop desktop_;
};

TEST_F(WithEverythingConnected, OnlyTheDispatcherMakesCallsWhileNothingHappens) {
    ExpectPasses(Observe(), /*pads=*/1);
}

// In KiB, from what the kernel sums up of all its mappings.
int MemoryOf(pid_t process, const std::string& kind) {
    std::ifstream lines("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(kind + ":", 0) == 0) {
            return std::stoi(line.substr(kind.size() + 1));
        }
    }
    return -1;
}

// Of the libraries a process has a share that depends on who else uses them; what it has written to is its own.
void ExpectMemory(pid_t process, int most) {
    std::cout << MemoryOf(process, "Pss") << " KiB, " << MemoryOf(process, "Pss_Anon") << " KiB of them its own"
              << std::endl;
    EXPECT_GT(MemoryOf(process, "Pss_Anon"), 0);
    EXPECT_LT(MemoryOf(process, "Pss_Anon"), most);
}

TEST_F(WithEverythingConnected, ItsMemoryStaysInTheBudget) {
    constexpr int kMost = 5 * 1024;
    ExpectMemory(Running().Pid(), kMost);
}

TEST_F(WholeProgram, ItsMemoryStaysInTheBudgetWithoutBusAndDisplay) {
    constexpr int kMost = 3 * 1024;
    Plug();
    Start();
    ExpectKeys();
    ExpectMemory(Running().Pid(), kMost);
}

}  // namespace
