/// Watches keys' files and calls back through the default main context when a value changes.
///
/// Threads  any. Callbacks run on the thread that iterates the default main context, without a lock held; they may call
///          every operation of this class.
/// Wakes    only for the files below the keys' directories and for entries of the directories above them; no timer.
/// Errors   returned or told to the observer; nothing throws but std::bad_alloc and std::system_error.
#pragma once

#include <glib.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "locks/locks.h"
#include "platform/vconf.h"
#include "settings/key_file.h"

/// What a callback receives: the key and its new value, nothing where the key was removed.
struct _keynode_t {
    std::string key;
    std::optional<Value> value;
};

/// What a problem of the watching itself is about, as opposed to one of a file.
constexpr char kWatching[] = "watching";

class Watcher {
public:
    /// Called with every reading of a watched file, and with one of no file for the state of the watching itself (the
    /// lock held: it must not call back).
    using Observer = std::function<void(const Reading&)>;
    explicit Watcher(Observer observer) : observer_(std::move(observer)) {}
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// From now on each change of the key's value is one call; equal values and unreadable ones are none, and changes
    /// that follow each other faster than the loop turns may be one. The same callback twice on one key is refused.
    std::optional<Problem> Add(const std::string& key, vconf_callback_fn callback, void* userData);

    /// When it returns true the callback is not running and will not run again; called from inside a callback, a
    /// running one ends after the return instead. Another thread waits for a running callback, so it must not hold a
    /// lock that the callback takes: after two seconds of waiting the answer is false, as it is for a callback that was
    /// not added.
    bool Remove(const std::string& key, vconf_callback_fn callback);

private:
    struct Watch {
        vconf_callback_fn callback;
        void* userData;
        bool removed = false;
    };
    struct Key {
        std::string path;
        std::optional<Value> last;  // as last read without a problem
        bool stale = false;         // something happened to the file or to a directory above it
        std::vector<std::shared_ptr<Watch>> watches;
    };
    using Calls = std::vector<std::pair<std::shared_ptr<Watch>, keynode_t>>;

    static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);
    void Deliver();
    void Run(Watch& watch, keynode_t& node);

    bool StartLocked() REQUIRES(mutex_);
    void StopLocked() REQUIRES(mutex_);
    std::optional<Problem> ArmLocked() REQUIRES(mutex_);
    bool ArmPathLocked(const std::string& path, std::set<int>& armed) REQUIRES(mutex_);
    void DrainLocked() REQUIRES(mutex_);
    void MarkLocked(const char* name) REQUIRES(mutex_);
    bool RefreshLocked(Key& key) REQUIRES(mutex_);
    Calls CollectLocked() REQUIRES(mutex_);
    std::shared_ptr<Watch> TakeLocked(const std::string& key, vconf_callback_fn callback) REQUIRES(mutex_);

    const Observer observer_;
    Lock mutex_;
    std::condition_variable finished_;
    std::map<std::string, Key> keys_ GUARDED_BY(mutex_);
    std::set<int> armed_ GUARDED_BY(mutex_);  // inotify watch descriptors
    int fd_ GUARDED_BY(mutex_) = -1;          // inotify; open while a key is watched
    GSource* source_ GUARDED_BY(mutex_) = nullptr;
    const Watch* running_ GUARDED_BY(mutex_) = nullptr;
    std::thread::id runner_ GUARDED_BY(mutex_);
};
