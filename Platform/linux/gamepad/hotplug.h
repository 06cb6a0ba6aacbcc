/// The library's own thread: learns of pads that come and go.
///
/// With udevd, its monitor tells: a pad is taken when all rules ran, for only then its class and access rights are
/// final. Without, inotify on /dev/input does, and the pad is known by what it can do. A node that could not be opened
/// is tried again when its access rights change, and a pad whose rights are withdrawn is let go.
#pragma once

#include <pthread.h>

#include <atomic>

#include "gamepad/dev_input_watch.h"
#include "gamepad/file_descriptor.h"
#include "gamepad/pad_finder.h"
#include "gamepad/udev_pointer.h"

namespace gamepad {

class HotPlug {
public:
    HotPlug(PadList& pads, Listeners& listeners, mapping::Database& database);

    /// Lists the pads that are there, then starts the thread. False: it cannot, and a message tells why.
    bool Start();
    void Stop();  ///< waits for the thread, and so for a callback that it is in
    bool IsRunning() const { return running_; }
    static bool IsOwnThread();

    /// Makes the thread look for pads that are gone. Any thread, any time; never waits.
    void Wake() const;

private:
    bool OpenSources();
    void OpenMonitor();
    bool StartThread();
    static void* Entry(void* self);
    void Run();
    void Wait();
    void Settle();
    void HandleChanges();
    void Guarded(void (HotPlug::*step)());

    void ScanAll();
    void ScanUdev();
    void DisconnectVanished();
    void ReadMonitor();
    void ReadWatch();
    void ConsiderUdevDevice(udev_device* device);
    void ConsiderNode(const std::string& node);
    std::string SyspathOf(const std::string& node) const;
    UdevDevice DeviceOf(const std::string& node) const;

    PadList& pads_;
    PadFinder finder_;
    FileDescriptor wake_;  // open as long as this object, so that Wake is safe at any time
    UdevContext udev_;
    UdevMonitor monitor_;  // null: no udevd
    DevInputWatch watch_;
    pthread_t thread_{};
    std::atomic<bool> running_{false};
    std::atomic<bool> stop_{false};
    bool is_settled_ = false;  // the thread's
};

}  // namespace gamepad
