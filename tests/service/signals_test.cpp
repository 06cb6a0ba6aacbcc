// SIGTERM and SIGUSR1 at every moment of the program's life, one at a time and in bursts.

#include <glib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <thread>
#include <vector>

#include "main.h"
#include "running_service.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

std::string Received(int signal) {
    return "Received Signal[" + std::to_string(signal) + "]";
}

class WhileRunning : public RunningService {};

TEST_F(WhileRunning, SigtermEndsTheProgramOrderly) {
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), 1);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "main.cpp: sig_handler", Received(SIGTERM)));
    EXPECT_TRUE(is_gamepad_service_accessible);
    EXPECT_THAT(platform.TimelineOf(kDispatcherThread),
                ContainsInOrder(Texts{"gamepad_unregister_connection_callback(ptr)",
                                      "gamepad_unregister_gameapp_status_callback(ptr)", "gamepad_close()"}));
    EXPECT_FALSE(platform.Logged(DLOG_INFO, "[gamepad-service]has exited already"));
}

TEST_F(WhileRunning, Sigusr1LeavesTheGamepadLibraryAlone) {
    Plug("pad");
    process->Signal(SIGUSR1);
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGUSR1)), 1);
    EXPECT_FALSE(is_gamepad_service_accessible);
    EXPECT_TRUE(
        platform.Logged(DLOG_INFO, "GamepadEventDispatcher.cpp: t_Main", "[gamepad-service]has exited already"));
    EXPECT_EQ(platform.CallCount("gamepad_destroy_device"), 1);
    EXPECT_EQ(platform.CallCount("gamepad_unregister_connection_callback"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_unregister_gameapp_status_callback"), 0);
    EXPECT_EQ(platform.CallCount("gamepad_close"), 0);
}

TEST_F(WhileRunning, Sigusr1ClearsTheFlagBeforeItsHandlerReturns) {
    raise(SIGUSR1);
    EXPECT_FALSE(is_gamepad_service_accessible);
    EXPECT_EQ(process->WaitForEnd(), 0);
}

TEST_F(WhileRunning, ASignalMayArriveOnAnyThread) {
    std::thread([] { raise(SIGTERM); }).join();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), 1);
}

TEST_F(WhileRunning, ASignalToTheProcessEndsIt) {
    ServiceProcess::SignalProcess(SIGTERM);
    EXPECT_EQ(process->WaitForEnd(), 0);
}

TEST_F(WhileRunning, AnotherSignalIsOnlyLogged) {
    sig_handler(SIGHUP);
    EXPECT_TRUE(platform.WaitForLog(Received(SIGHUP)));
    EXPECT_TRUE(is_gamepad_service_accessible);
    EXPECT_EQ(process->WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_THAT(platform.Timeline(), Not(Contains("g_main_loop_quit()")));
}

TEST_F(WhileRunning, TheHandlerLeavesErrnoAsItWas) {
    errno = ENOTTY;
    sig_handler(SIGHUP);
    EXPECT_EQ(errno, ENOTTY);
}

TEST_F(WhileRunning, TheThreadThatLogsAndQuitsIsNotTheInterruptedOne) {
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForEnd(), 0);
    for (const LogLine& line : platform.LogLines()) {
        if (line.message == Received(SIGTERM)) {
            EXPECT_EQ(line.thread, "SignalRelay");
        }
    }
}

// A handler that logged or quit the loop by itself would wait here for ever: the lock of the platform's log is held by
// the very thread that is interrupted.
TEST_F(WhileRunning, ASignalMayInterruptTheLogItself) {
    {
        const auto lock = platform.Lock();
        raise(SIGTERM);
    }
    EXPECT_EQ(process->WaitForEnd(), 0);
}

TEST_F(WholeProgram, NoOtherSignalIsHandled) {
    ServiceProcess process(platform);
    ASSERT_TRUE(process.WaitUntilRunning());
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction now = {};
        sigaction(signal, nullptr, &now);
        EXPECT_EQ(now.sa_handler == sig_handler, signal == SIGTERM || signal == SIGUSR1) << signal;
    }
}

// In a process of its own, where main has never run.
TEST_F(WholeProgram, TheHandlerCalledWithoutMainActsAtOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto call = [this] {
        gLoop = g_main_loop_new(nullptr, TRUE);
        sig_handler(SIGUSR1);
        const bool isDone = !is_gamepad_service_accessible && platform.LogCount(DLOG_INFO, Received(SIGUSR1)) == 1 &&
                            testing::Matches(Contains("g_main_loop_quit()"))(platform.Timeline());
        _exit(isDone ? 0 : 1);
    };
    EXPECT_EXIT(call(), testing::ExitedWithCode(0), "");
}

TEST_F(WholeProgram, TheHandlerCalledWithoutMainLogsAnyNumber) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto call = [this] {
        gLoop = g_main_loop_new(nullptr, TRUE);
        bool isLogged = true;
        for (const int signal : {0, -1, SIGHUP, NSIG, 99, INT_MAX}) {
            sig_handler(signal);
            isLogged = isLogged && platform.Logged(DLOG_INFO, "main.cpp: sig_handler", Received(signal));
        }
        _exit(isLogged && is_gamepad_service_accessible && g_main_loop_is_running(gLoop) ? 0 : 1);
    };
    EXPECT_EXIT(call(), testing::ExitedWithCode(0), "");
}

TEST_F(WholeProgram, TheHandlersAreThereBeforeTheInstances) {
    bool installed = false;
    platform.OnCall("aul_listen_app_status_signal", [&](const Call& call) {
        struct sigaction term = {};
        struct sigaction user = {};
        sigaction(SIGTERM, nullptr, &term);
        sigaction(SIGUSR1, nullptr, &user);
        installed = installed ||
                    (call.arguments.at(0) == "ptr" && term.sa_handler == sig_handler && user.sa_handler == sig_handler);
    });
    {
        ServiceProcess process(platform);
        ASSERT_TRUE(process.WaitUntilRunning());
    }
    EXPECT_TRUE(installed);
}

// ---- Before there is a loop

class BeforeTheLoop : public WholeProgram, public testing::WithParamInterface<std::string> {
protected:
    /// On the first call of the function, which is made on the main thread during the start.
    void OnFirstCall(const std::string& function, const std::function<void()>& action) {
        const auto once = std::make_shared<std::atomic<bool>>(false);
        platform.OnCall(function, [once, action](const Call& call) {
            if (call.thread == kMainThread && !once->exchange(true)) {
                action();
            }
        });
    }
};

TEST_P(BeforeTheLoop, ASignalIsOnlyLogged) {
    OnFirstCall(GetParam(), [] {
        raise(SIGTERM);
        raise(SIGUSR1);
    });
    ServiceProcess process(platform);
    ASSERT_TRUE(process.WaitUntilRunning());
    EXPECT_TRUE(platform.WaitForLog(Received(SIGTERM)));
    EXPECT_TRUE(platform.WaitForLog(Received(SIGUSR1)));
    EXPECT_FALSE(is_gamepad_service_accessible);
    EXPECT_EQ(process.WaitForEnd(kForAWhile), std::nullopt);
    EXPECT_EQ(process.Stop(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "[gamepad-service]has exited already"));
}

INSTANTIATE_TEST_SUITE_P(DuringTheStart, BeforeTheLoop,
                         testing::Values("aul_listen_app_status_signal", "VirtualKey_Initialize",
                                         "vconf_notify_key_changed", "vconf_get_int", "tzplatform_getenv",
                                         "system_info_get_custom_bool"),
                         [](const auto& test) { return test.param; });

TEST_F(BeforeTheLoop, ASignalWhileTheLoopIsMadeIsOnlyLogged) {
    runTime.Before("g_main_loop_new", [] { raise(SIGTERM); });
    ServiceProcess process(platform);
    ASSERT_TRUE(process.WaitUntilRunning());
    EXPECT_TRUE(platform.WaitForLog(Received(SIGTERM)));
    EXPECT_EQ(process.WaitForEnd(kForAWhile), std::nullopt);
}

TEST_F(BeforeTheLoop, ASignalThatFindsALoopThatDoesNotRunYetEndsIt) {
    runTime.Before("g_main_loop_run", [this] {
        raise(SIGTERM);
        EXPECT_TRUE(runTime.WaitForLoopCall("g_main_loop_quit"));
    });
    ServiceProcess process(platform);
    EXPECT_EQ(process.WaitForEnd(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), 1);
}

TEST_F(BeforeTheLoop, ASignalThatAnswersTheFirstMessageIsOnlyLogged) {
    for (const int signal : {SIGTERM, SIGUSR1}) {
        platform.OnMessage("quorvex Start", [signal] { raise(signal); });
        ServiceProcess process(platform);
        ASSERT_TRUE(process.WaitUntilRunning());
        EXPECT_TRUE(platform.WaitForLog(Received(signal)));
        EXPECT_EQ(process.WaitForEnd(kForAWhile), std::nullopt);
        process.Signal(SIGTERM);
        EXPECT_EQ(process.WaitForEnd(), 0);
        platform.ForgetLog();
    }
}

// ---- At any moment between the first instance and the running loop

class AtAnyMoment : public WholeProgram, public testing::WithParamInterface<int> {
protected:
    /// The signal's moment: so many calls and messages after the first instance was begun, the last one at the latest.
    void WaitForMoment(size_t entries) {
        while (platform.Timeline().size() < entries && runTime.Pauses().empty()) {
            std::this_thread::yield();
        }
    }
    /// To the main thread. ThreadSanitizer may hold back what arrives there from outside, so with it the signal is one
    /// of this thread's own, which its handler gets at once.
    static void Send(ServiceProcess& process) {
#if defined(__SANITIZE_THREAD__)
        static_cast<void>(process);
        raise(SIGTERM);
#else
        process.Signal(SIGTERM);
#endif
    }
};

TEST_P(AtAnyMoment, TheFirstOrTheSecondSignalEndsTheProgram) {
    ServiceProcess process(platform);
    ASSERT_TRUE(platform.WaitForLog("Constructor is called"));  // the handlers are there
    WaitForMoment(3 + static_cast<size_t>(GetParam()));
    Send(process);
    ASSERT_TRUE(platform.WaitForLog(Received(SIGTERM)));
    if (!process.WaitForEnd(kForAWhile)) {
        Send(process);
    }
    EXPECT_EQ(process.WaitForEnd(), 0);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfTheStart, AtAnyMoment, testing::Range(0, 48, 2));

// ---- While everything is taken down

class DuringTheShutdown : public RunningService, public testing::WithParamInterface<std::string> {
protected:
    void Prepare() override { platform.AddPad("pad"); }
};

TEST_P(DuringTheShutdown, FurtherSignalsChangeNothingButTheLog) {
    constexpr int kSignals = 10;
    const auto once = std::make_shared<std::atomic<bool>>(false);
    platform.OnCall(GetParam(), [once](const Call&) {
        for (int i = 0; !once->load() && i < kSignals; ++i) {
            raise(SIGTERM);
        }
        once->store(true);
    });
    EXPECT_EQ(process->Stop(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), 1 + kSignals);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(AtEachStage, DuringTheShutdown,
                         testing::Values("gamepad_destroy_device", "gamepad_unregister_connection_callback",
                                         "gamepad_close", "VirtualKey_Finalize", "vconf_ignore_key_changed",
                                         "aul_listen_app_status_signal"),
                         [](const auto& test) { return test.param; });

TEST_F(DuringTheShutdown, ASignalWhileTheLoopIsReleasedChangesNothing) {
    runTime.Before("g_main_loop_unref", [] { raise(SIGTERM); });
    EXPECT_EQ(process->Stop(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), 2);
}

TEST_F(DuringTheShutdown, Sigusr1StillSparesTheGamepadLibrary) {
    Door door;
    platform.OnCall("gamepad_destroy_device", door.CallHook());
    process->Signal(SIGTERM);
    ASSERT_TRUE(door.WaitForVisitor());
    raise(SIGUSR1);
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_TRUE(platform.Logged(DLOG_INFO, "[gamepad-service]has exited already"));
    EXPECT_EQ(platform.CallCount("gamepad_close"), 0);
}

// ---- Bursts

class ABurst : public RunningService {
protected:
    static constexpr int kThreads = 4;
    static constexpr int kSignalsEach = 1000;
};

// A storm without an end would leave the threads that it interrupts no time for anything else.
constexpr int kBurst = 5000;

TEST_F(ABurst, FromSeveralThreadsLogsEachHandledSignalOnce) {
    Door door;
    platform.OnCall("VirtualKey_Finalize", door.CallHook());
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < kSignalsEach; ++n) {
                raise(SIGTERM);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    door.Open();
    EXPECT_EQ(process->WaitForEnd(), 0);
    EXPECT_EQ(platform.LogCount(DLOG_INFO, Received(SIGTERM)), kThreads * kSignalsEach);
    EXPECT_THAT(platform.Leftovers(), IsEmpty());
}

TEST_F(ABurst, AtTheThreadsOfTheServiceNeitherHangsNorCrashesThem) {
    platform.AddPad("pad");
    platform.SendConnectionNotice(GAMEPAD_CONNECTED, "pad");
    ASSERT_TRUE(platform.WaitForCall("gamepad_get_events"));
    std::vector<pid_t> tids;
    for (const char* const function : {"gamepad_get_events", "VirtualKey_Initialize"}) {
        tids.push_back(platform.Calls(function).at(0).tid);
    }
    std::atomic<bool> ended{false};
    std::thread sender([&] {
        for (int i = 0; !ended && i < kBurst; ++i) {
            syscall(SYS_tgkill, getpid(), tids.at(static_cast<size_t>(i) % tids.size()),
                    i % 7 == 6 ? SIGUSR1 : SIGTERM);
        }
    });
    const auto status = process->WaitForEnd();
    ended = true;
    sender.join();
    EXPECT_EQ(status, 0);
}

TEST_F(ABurst, OfBothSignalsWhileEventsFloodInEndsTheProgram) {
    platform.AddPad("pad");
    platform.SendConnectionNotice(GAMEPAD_CONNECTED, "pad");
    platform.AnswerGetEvents([](int, _gamepad_event_s* events, int* count) {
        for (int i = 0; i < *count; ++i) {
            events[i] = {1, 1, 0, i % 2};
        }
        return 1;
    });
    ASSERT_TRUE(platform.WaitForKeys(8));
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            for (int n = 0; n < kSignalsEach; ++n) {
                kill(getpid(), i % 2 == 0 ? SIGTERM : SIGUSR1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(process->WaitForEnd(), 0);
}

}  // namespace
