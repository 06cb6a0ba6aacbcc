#include "gamepad/hotplug.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>

#include "gamepad/udevd.h"
#include "memory/memory.h"
#include "platform/dlog.h"

namespace gamepad {
namespace {

constexpr int kStartUpMs = 1000;

thread_local bool t_is_hotplug_thread = false;

constexpr const char* kThreadName = "gamepad-hotplug";  // 15 characters, as many as the kernel keeps

bool Has(udev_device* device, const char* property) {
    const char* value = udev_device_get_property_value(device, property);
    return value != nullptr && std::strcmp(value, "1") == 0;
}

Candidate CandidateOf(udev_device* device) {
    return {OrEmpty(udev_device_get_devnode(device)), OrEmpty(udev_device_get_syspath(device)),
            OrEmpty(udev_device_get_property_value(device, "ID_PATH")), true};
}

void TellFailure(const char* what, int error) {
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "pads cannot be watched: %s: %s", what, std::strerror(error));
}

}  // namespace

HotPlug::HotPlug(PadList& pads, Listeners& listeners, mapping::Database& database)
    : pads_(pads), finder_(pads, listeners, database), wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

bool HotPlug::Start() {
    if (!OpenSources()) {
        return false;
    }
    ScanAll();
    stop_ = false;
    running_ = StartThread();
    return running_;
}

bool HotPlug::OpenSources() {
    if (!wake_) {
        TellFailure("eventfd", EMFILE);
        return false;
    }
    udev_.reset(udev_new());
    if (udev_ == nullptr) {
        TellFailure("udev", ENOMEM);
        return false;
    }
    monitor_.reset();
    if (UdevdRuns()) {
        OpenMonitor();
    }
    if (!watch_.Open() && monitor_ == nullptr) {
        TellFailure("inotify", errno);
        return false;
    }
    return true;
}

void HotPlug::OpenMonitor() {
    monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"));
    if (monitor_ != nullptr && (udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "input", nullptr) < 0 ||
                                udev_monitor_enable_receiving(monitor_.get()) < 0)) {
        monitor_.reset();
    }
}

/// Signals are for the process's own threads.
bool HotPlug::StartThread() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int error = pthread_create(&thread_, nullptr, Entry, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) {
        TellFailure("thread", error);
        return false;
    }
    pthread_setname_np(thread_, kThreadName);
    return true;
}

void HotPlug::Stop() {
    if (!running_) {
        return;
    }
    stop_ = true;
    Wake();
    pthread_join(thread_, nullptr);
    running_ = false;
    monitor_.reset();
    watch_ = DevInputWatch();
    udev_.reset();
    finder_.ForgetAll();
}

void HotPlug::Wake() const {
    const std::uint64_t one = 1;
    // It only fails when the counter is full, and then the thread is awake anyway.
    [[maybe_unused]] const ssize_t written = write(wake_.Get(), &one, sizeof one);
}

bool HotPlug::IsOwnThread() {
    return t_is_hotplug_thread;
}

void* HotPlug::Entry(void* self) {
    t_is_hotplug_thread = true;
    static_cast<HotPlug*>(self)->Run();
    return nullptr;
}

void HotPlug::Run() {
    while (!stop_) {
        Wait();
        if (!stop_) {
            Guarded(&HotPlug::HandleChanges);
        }
    }
}

/// Nothing may leave a thread of the library, and a pad less is better than no pads.
void HotPlug::Guarded(void (HotPlug::*step)()) {
    try {
        (this->*step)();
    } catch (const std::exception& failure) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "a pad may be missing: %s", failure.what());
    }
}

void HotPlug::Wait() {
    const int monitor = monitor_ == nullptr ? -1 : udev_monitor_get_fd(monitor_.get());
    std::array<pollfd, 3> sources{{{wake_.Get(), POLLIN, 0}, {monitor, POLLIN, 0}, {watch_.Fd(), POLLIN, 0}}};
    if (poll(sources.data(), sources.size(), is_settled_ ? -1 : kStartUpMs) == 0) {
        Settle();
    }
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t length = read(wake_.Get(), &count, sizeof count);
}

/// By now the whole program has started, and what has only served that is not needed any more.
void HotPlug::Settle() {
    GiveBackFilePages();
    is_settled_ = true;
}

/// Pads that are gone go first, so that one that comes back meanwhile finds its uid free.
void HotPlug::HandleChanges() {
    finder_.DisconnectGone();
    if (monitor_ != nullptr) {
        ReadMonitor();
    }
    if (watch_.Fd() >= 0) {
        ReadWatch();
    }
}

void HotPlug::ScanAll() {
    if (monitor_ != nullptr) {
        ScanUdev();
        return;
    }
    const std::vector<std::string> nodes = EventNodes();
    if (nodes.empty()) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "no input device in %s yet: waiting for a pad", kNodeFolder);
    }
    for (const std::string& node : nodes) {
        ConsiderNode(node);
    }
}

void HotPlug::ScanUdev() {
    const UdevEnumerate enumerate(udev_enumerate_new(udev_.get()));
    udev_enumerate_add_match_subsystem(enumerate.get(), "input");
    udev_enumerate_add_match_property(enumerate.get(), "ID_INPUT_JOYSTICK", "1");
    udev_enumerate_scan_devices(enumerate.get());
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate.get())) {
        const UdevDevice device(udev_device_new_from_syspath(udev_.get(), udev_list_entry_get_name(entry)));
        if (device != nullptr) {
            ConsiderUdevDevice(device.get());
        }
    }
}

void HotPlug::ConsiderUdevDevice(udev_device* device) {
    const Candidate candidate = CandidateOf(device);
    if (IsEventNode(candidate.node) && Has(device, "ID_INPUT_JOYSTICK") && !Has(device, "ID_INPUT_ACCELEROMETER")) {
        finder_.Consider(candidate);
    }
}

void HotPlug::ReadMonitor() {
    errno = 0;
    while (const UdevDevice device{udev_monitor_receive_device(monitor_.get())}) {
        if (OrEmpty(udev_device_get_action(device.get())) != "remove") {
            ConsiderUdevDevice(device.get());
        } else if (const PadPointer pad = pads_.BySyspath(OrEmpty(udev_device_get_syspath(device.get())))) {
            finder_.Disconnect(pad);
        }
        errno = 0;
    }
    if (errno == ENOBUFS) {
        DisconnectVanished();
        ScanUdev();
    }
}

/// With udevd only access rights matter here: everything else waits for the rules to run.
void HotPlug::ReadWatch() {
    const DevInputWatch::Changes changes = watch_.Read();
    if (changes.everything && monitor_ == nullptr) {
        DisconnectVanished();
        ScanAll();
    }
    for (const std::string& node : changes.nodes) {
        finder_.LetGoIfForbidden(node);
        if (monitor_ == nullptr) {
            ConsiderNode(node);
        } else if (const UdevDevice device = finder_.WasRefused(node) ? DeviceOf(node) : nullptr) {
            ConsiderUdevDevice(device.get());
        }
    }
}

UdevDevice HotPlug::DeviceOf(const std::string& node) const {
    struct stat status {};
    const bool is_device = stat(node.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
    return UdevDevice(is_device ? udev_device_new_from_devnum(udev_.get(), 'c', status.st_rdev) : nullptr);
}

/// Where sysfs does not know the node, the node's inode stands for the connection. Empty: no such node.
std::string HotPlug::SyspathOf(const std::string& node) const {
    struct stat status {};
    if (stat(node.c_str(), &status) != 0) {
        if (errno != ENOENT) {
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "if a pad does not show up: %s: %s", node.c_str(),
                         std::strerror(errno));
        }
        return "";
    }
    const UdevDevice device = DeviceOf(node);
    return device != nullptr ? OrEmpty(udev_device_get_syspath(device.get()))
                             : node + "#" + std::to_string(status.st_ino);
}

/// The watch tells only that something happened to a name; what is true now decides.
void HotPlug::ConsiderNode(const std::string& node) {
    const std::string syspath = SyspathOf(node);
    const PadPointer pad = pads_.ByNode(node);
    if (pad != nullptr && pad->syspath != syspath) {
        finder_.Disconnect(pad);
    }
    if (syspath.empty()) {
        finder_.Forget(node);
    } else {
        finder_.Consider({node, syspath, "", false});
    }
}

void HotPlug::DisconnectVanished() {
    for (const PadPointer& pad : pads_.All()) {
        if (SyspathOf(pad->node) != pad->syspath) {
            finder_.Disconnect(pad);
        }
    }
}

}  // namespace gamepad
