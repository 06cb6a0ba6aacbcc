#ifndef PLATFORM_LINUX_AUL_FOCUS_STATE_H
#define PLATFORM_LINUX_AUL_FOCUS_STATE_H

#include <sys/types.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "locks/locks.h"

namespace aul {

/// What was last seen of the focus and of on-screen keyboards, for whoever asks.
///
/// Threads  any. One leaf lock, not held while files are read; nothing waits.
class FocusState {
public:
    static constexpr int kFocused = 2;
    static constexpr int kNotFocused = 0;
    static constexpr int kUnknown = -1;

    /// Outlives every thread.
    static FocusState& TheOne();

    /// `told` is the process that was named to the listener, `window` the one whose window has the focus; 0: none.
    void SetFocus(pid_t told, pid_t window, const std::string& windowApp);
    void AddKeyboard(pid_t pid);
    void RemoveKeyboard(pid_t pid);
    /// As before anything was seen; the ids that were asked for are forgotten as well.
    void Clear();

    /// Empty: not known.
    std::string AppId(pid_t pid);
    /// Of an id that AppId gave before: whether a process that it was given for has the focus. So two games that run
    /// the same interpreter are told apart. Of other ids: whether it is that of the focused application.
    int Status(const std::string& id) const;

private:
    bool HasFocusLocked(pid_t pid) const REQUIRES(lock_) { return pid > 0 && (pid == told_ || pid == window_); }
    bool IsKeyboardLocked(pid_t pid) const REQUIRES(lock_);
    void RememberLocked(const std::string& id, pid_t pid) REQUIRES(lock_);

    mutable Lock lock_;
    pid_t told_ GUARDED_BY(lock_) = 0;
    pid_t window_ GUARDED_BY(lock_) = 0;
    std::string windowApp_ GUARDED_BY(lock_);
    std::vector<pid_t> keyboards_ GUARDED_BY(lock_);
    std::deque<std::pair<std::string, pid_t>> asked_ GUARDED_BY(lock_);  ///< newest last
};

}  // namespace aul

#endif
