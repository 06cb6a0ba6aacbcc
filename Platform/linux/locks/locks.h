/// A lock that clang's thread-safety analysis knows: the standard library's own says nothing to it.
///
/// Threads  any. Signals are not touched.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define LOCKS_TELL(x) __attribute__((x))
#else
#define LOCKS_TELL(x)
#endif

#define GUARDED_BY(x) LOCKS_TELL(guarded_by(x))
#define REQUIRES(...) LOCKS_TELL(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) LOCKS_TELL(locks_excluded(__VA_ARGS__))

class LOCKS_TELL(capability("mutex")) Lock {
public:
    constexpr Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    friend class Hold;
    std::mutex mutex_;
};

/// Has the lock for as long as it lives, but for the time between Release and Regain.
class LOCKS_TELL(scoped_lockable) Hold {
public:
    explicit Hold(Lock& lock) LOCKS_TELL(acquire_capability(lock)) : held_(lock.mutex_) {}
    ~Hold() LOCKS_TELL(release_capability()) {}
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    void Release() LOCKS_TELL(release_capability()) { held_.unlock(); }
    void Regain() LOCKS_TELL(acquire_capability()) { held_.lock(); }

    /// For a condition to wait with.
    std::unique_lock<std::mutex>& Waiting() { return held_; }

private:
    std::unique_lock<std::mutex> held_;
};
