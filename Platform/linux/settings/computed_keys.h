/// Keys whose values a part of this platform finds out for itself, at some cost: it does so only while somebody in this
/// process watches the key. The store knows nothing of the parts; each offers its key when the program is loaded.
///
/// Threads  any. start and stop of one key are called one at a time, without a lock of the store held. stop may wait
/// for
///          the part's own thread, so on that thread nobody may watch or ignore this very key; other keys are free.
#pragma once

#include <string>

#include "locks/locks.h"

class ComputedKey {
public:
    /// For objects that live as long as the program. start is called before the first watch reads the key, so a value
    /// that it writes at once is what changes are told against; stop after the last watch has ended.
    ComputedKey(const char* key, void (*start)(), void (*stop)());
    ComputedKey(const ComputedKey&) = delete;
    ComputedKey& operator=(const ComputedKey&) = delete;

private:
    friend void BeginWatch(const std::string& key);
    friend void EndWatch(const std::string& key);

    const char* const key_;
    void (*const start_)();
    void (*const stop_)();
    Lock lock_;
    int watches_ GUARDED_BY(lock_) = 0;
};

/// The store is about to watch the key once more, or watches it once less.
void BeginWatch(const std::string& key);
void EndWatch(const std::string& key);
