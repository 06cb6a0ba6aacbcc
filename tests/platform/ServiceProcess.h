#pragma once

#include <glib.h>
#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <thread>

#include "FakePlatform.h"

/// The whole program on a thread of its own, "quorvex", which then owns the default main context.
///
/// Make it after the double; one at a time. The process globals start fresh, and SIGTERM and SIGUSR1 get back the
/// handlers that they had. The error messages that belong to an orderly shutdown are announced by the constructor.
class ServiceProcess {
public:
    explicit ServiceProcess(FakePlatform& platform);
    /// Stops the program with SIGTERM when it still runs; ends the test program when that does not help.
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// True as soon as the dispatcher polls and the main loop turns; false when the program ends before, or in time.
    bool WaitUntilRunning(std::chrono::milliseconds atMost = kSoon);
    void Signal(int signal);                                           ///< to the program's main thread, if it runs
    static void SignalProcess(int signal) { kill(getpid(), signal); }  ///< to whichever thread takes it
    /// The exit status, or nothing when the program still runs after that time.
    std::optional<int> WaitForEnd(std::chrono::milliseconds atMost = kSoon);
    /// SIGTERM, and the exit status.
    std::optional<int> Stop();

private:
    void Run();
    static gboolean NoteTurn(gpointer self);

    FakePlatform& platform_;
    struct sigaction terminateBefore_;
    struct sigaction user1Before_;
    GSource* turn_;       ///< runs once the main loop turns
    bool turns_ = false;  ///< this and the status are guarded by the double's lock
    std::optional<int> status_;
    std::thread thread_;
};
