#include "settings/watcher.h"

#include <glib-unix.h>
#include <platform/dlog.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>

namespace {

// A file is read when its writer has closed it or it came by renaming: before that it may be half written.
constexpr uint32_t kInFileDirectory = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
// A directory that is removed while someone stands in it tells its parent, not itself.
constexpr uint32_t kInParents = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr uint32_t kAlways = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_MASK_ADD;

constexpr std::chrono::seconds kLongestCallback{2};

Problem CannotWatch(const std::string& path) {
    return {kWatching, path + ": cannot watch for changes: " + g_strerror(errno)};
}

bool IsPartOf(const std::string& path, const char* name) {
    const std::string part = std::string("/") + name;
    for (size_t at = path.find(part); at != std::string::npos; at = path.find(part, at + 1)) {
        const size_t end = at + part.size();
        if (end == path.size() || path[end] == '/') {
            return true;
        }
    }
    return false;
}

}  // namespace

Watcher::~Watcher() {
    const Hold lock(mutex_);
    StopLocked();
}

std::optional<Problem> Watcher::Add(const std::string& key, vconf_callback_fn callback, void* userData) {
    const auto place = LocateKey(key);
    if (const Problem* problem = std::get_if<Problem>(&place)) {
        return *problem;
    }
    const Hold lock(mutex_);
    const auto [entry, added] = keys_.try_emplace(key, Key{std::get<std::string>(place), {}, false, {}});
    auto& watches = entry->second.watches;
    const auto same = [&](const auto& watch) { return watch->callback == callback; };
    if (std::any_of(watches.begin(), watches.end(), same)) {
        return Problem{kWatching, "settings: this callback watches " + key + " already; it is called once"};
    }
    watches.push_back(std::make_shared<Watch>(Watch{callback, userData}));
    std::optional<Problem> problem = ArmLocked();
    if (problem) {
        TakeLocked(key, callback);
    } else if (added) {
        RefreshLocked(entry->second);
    }
    return problem;
}

bool Watcher::Remove(const std::string& key, vconf_callback_fn callback) {
    Hold lock(mutex_);
    const std::shared_ptr<Watch> watch = TakeLocked(key, callback);
    if (watch == nullptr) {
        return false;
    }
    if (runner_ == std::this_thread::get_id()) {
        return true;
    }
    // By the system's clock, because the timed wait on the steady one does not exist everywhere.
    const auto deadline = std::chrono::system_clock::now() + kLongestCallback;
    return finished_.wait_until(lock.Waiting(), deadline, [&]() REQUIRES(mutex_) { return running_ != watch.get(); });
}

std::shared_ptr<Watcher::Watch> Watcher::TakeLocked(const std::string& key, vconf_callback_fn callback) {
    const auto entry = keys_.find(key);
    if (entry == keys_.end()) {
        return nullptr;
    }
    auto& watches = entry->second.watches;
    const auto found = std::find_if(watches.begin(), watches.end(), [&](auto& w) { return w->callback == callback; });
    if (found == watches.end()) {
        return nullptr;
    }
    std::shared_ptr<Watch> watch = *found;
    watch->removed = true;
    watches.erase(found);
    if (watches.empty()) {
        keys_.erase(entry);
    }
    if (keys_.empty()) {
        StopLocked();
    }
    return watch;
}

bool Watcher::StartLocked() {
    if (fd_ < 0) {
        fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    }
    if (fd_ >= 0 && source_ == nullptr) {
        source_ = g_unix_fd_source_new(fd_, G_IO_IN);
        g_source_set_callback(source_, G_SOURCE_FUNC(&Watcher::OnReadable), this, nullptr);
        g_source_attach(source_, nullptr);
    }
    return fd_ >= 0;
}

void Watcher::StopLocked() {
    if (source_ != nullptr) {
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
    }
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
    armed_.clear();
}

// Watches what exists of every directory on the way to every key. From the root down: whatever appears after its parent
// is watched comes as an event, and the next call finds it.
std::optional<Problem> Watcher::ArmLocked() {
    std::set<int> armed;
    for (const auto& [name, key] : keys_) {
        if (!StartLocked() || !ArmPathLocked(key.path, armed)) {
            return CannotWatch(key.path);
        }
    }
    // Directories that were moved away would go on telling.
    for (const int descriptor : armed_) {
        if (armed.count(descriptor) == 0) {
            inotify_rm_watch(fd_, descriptor);
        }
    }
    armed_ = std::move(armed);
    return std::nullopt;
}

// A directory that may be passed but not read (EACCES) is left out, the rest of the way is watched all the same.
bool Watcher::ArmPathLocked(const std::string& path, std::set<int>& armed) {
    const size_t last = path.rfind('/');
    for (size_t end = path.find('/'); end != std::string::npos; end = path.find('/', end + 1)) {
        const std::string directory = end == 0 ? "/" : path.substr(0, end);
        const uint32_t mask = kAlways | (end == last ? kInFileDirectory : kInParents);
        const int descriptor = inotify_add_watch(fd_, directory.c_str(), mask);
        if (descriptor >= 0) {
            armed.insert(descriptor);
        } else if (errno == ENOSPC || errno == ENOMEM) {
            return false;
        } else if (errno != EACCES) {
            break;
        }
    }
    return true;
}

// Marks the keys on whose way something happened. One read only: if there is more, the loop comes back, and other
// sources get their turn.
void Watcher::DrainLocked() {
    std::array<char, 4096> buffer;
    const ssize_t size = read(fd_, buffer.data(), buffer.size());
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, &buffer[static_cast<size_t>(at)], sizeof event);
        at += static_cast<ssize_t>(sizeof event);
        const char* const name = event.len > 0 ? &buffer[static_cast<size_t>(at)] : nullptr;
        at += event.len;
        if ((event.mask & IN_IGNORED) == 0) {
            MarkLocked(name);
        }
    }
}

// An event without a name (a directory itself went, the queue ran over) concerns every key. Only these are read again:
// another one may be half written at this moment.
void Watcher::MarkLocked(const char* name) {
    for (auto& [key, entry] : keys_) {
        entry.stale = entry.stale || name == nullptr || IsPartOf(entry.path, name);
    }
}

// A file that cannot be read leaves the last value standing. An empty one is not even told: a shell's `>` empties the
// file before it fills it.
bool Watcher::RefreshLocked(Key& key) {
    const Reading reading = ReadKeyFile(key.path);
    if (!reading.empty) {
        observer_(reading);
    }
    if (reading.problem || reading.value == key.last) {
        return false;
    }
    key.last = reading.value;
    return true;
}

Watcher::Calls Watcher::CollectLocked() {
    Calls calls;
    DrainLocked();
    if (std::none_of(keys_.begin(), keys_.end(), [](const auto& key) { return key.second.stale; })) {
        return calls;
    }
    observer_({kWatching, {}, ArmLocked()});
    for (auto& [name, key] : keys_) {
        if (std::exchange(key.stale, false) && RefreshLocked(key)) {
            for (const auto& watch : key.watches) {
                calls.emplace_back(watch, keynode_t{name, key.last});
            }
        }
    }
    return calls;
}

gboolean Watcher::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    // Nothing may be thrown through GLib.
    try {
        static_cast<Watcher*>(self)->Deliver();
    } catch (const std::exception& problem) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "settings: %s; a change may not be told", problem.what());
    }
    return G_SOURCE_CONTINUE;
}

void Watcher::Deliver() {
    Hold lock(mutex_);
    Calls calls = CollectLocked();
    lock.Release();
    for (auto& [watch, node] : calls) {
        Run(*watch, node);
    }
}

void Watcher::Run(Watch& watch, keynode_t& node) {
    Hold lock(mutex_);
    if (watch.removed) {
        return;
    }
    running_ = &watch;
    runner_ = std::this_thread::get_id();
    lock.Release();
    watch.callback(&node, watch.userData);
    lock.Regain();
    running_ = nullptr;
    runner_ = {};
    finished_.notify_all();
}
