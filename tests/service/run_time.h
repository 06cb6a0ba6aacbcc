#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "FakePlatform.h"

/// One pause that the service made with usleep. It lasted a twentieth of that, so that tests are quick.
struct Pause {
    unsigned microseconds;
    std::string thread;
};

/// Stands between the service and its run time: threads, memory, pauses and GLib's main loop. Everything works until a
/// test says otherwise; calls of the main loop stand in the double's timeline, as "g_main_loop_run()".
///
/// One at a time; its end takes back every instruction. The link options that put it in place stand in CMakeLists.txt.
class RunTime {
public:
    RunTime();
    ~RunTime();
    RunTime(const RunTime&) = delete;
    RunTime& operator=(const RunTime&) = delete;

    /// The threads of the service in the order of their start.
    enum Thread { kDispatcher = 1, kMonitor = 2, kSignalRelay = 3 };
    /// The n-th next thread of the service cannot be created.
    void RefuseThread(int nth);
    /// Non-throwing allocations of this size yield no memory.
    void RefuseMemory(size_t size);
    void RefuseMainLoop();

    /// On the calling thread, before the function (g_main_loop_new, _run, _quit or _unref) does anything.
    void Before(const std::string& function, std::function<void()> hook);
    bool WaitForLoopCall(const std::string& function, int count = 1) const;

    std::vector<Pause> Pauses() const;
    bool WaitForPauses(const std::string& thread, size_t count) const;
};
