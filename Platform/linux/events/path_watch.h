#pragma once

#include <glib.h>
#include <sys/inotify.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// The kernel's notices of files and folders. All that are made on one thread share one inotify descriptor: a user may
/// have 128 of them, for all programs together.
///
/// Threads  made, used and destroyed on the thread of the context, where onNotices arrives; onNotices may destroy this.
class PathWatch {
public:
    struct Notice {
        int watch;         ///< -1 with IN_Q_OVERFLOW: whatever is watched may have changed
        uint32_t mask;     ///< as inotify(7) tells them
        std::string name;  ///< of the entry of a watched folder; empty: the watched path itself
    };
    /// Never empty; in the order of the kernel.
    using OnNotices = std::function<void(const std::vector<Notice>& notices)>;

    PathWatch(GMainContext* context, OnNotices onNotices);
    ~PathWatch();
    PathWatch(const PathWatch&) = delete;
    PathWatch& operator=(const PathWatch&) = delete;

    /// False with errno: the kernel gives no descriptor. It is asked again each time.
    bool Works();
    /// Adds to what is watched of the path, and returns its number; -1 with errno where the kernel refuses or this
    /// does not work.
    int Add(const std::string& path, uint32_t mask);
    void Remove(int watch);

private:
    class Inotify;
    void Tell(const std::vector<Notice>& all);

    const std::shared_ptr<Inotify> inotify_;
    const OnNotices onNotices_;
    std::map<int, uint32_t> masks_;  // by watch
};
