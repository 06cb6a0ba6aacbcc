/// One thing of the session that blanks the screen, or counts the time until it is blanked.
#pragma once

#include <functional>
#include <string>

/// Threads  the events thread's, like the observer's functions.
class Saver {
public:
    /// What a saver tells; neither function may destroy it.
    struct Observer {
        std::function<void()> onChange;       ///< one of the answers below may have changed
        std::function<void(Saver&)> onFound;  ///< it has just become possible to reset it
    };

    Saver() = default;
    virtual ~Saver() = default;
    Saver(const Saver&) = delete;
    Saver& operator=(const Saver&) = delete;

    /// What people know it by.
    virtual std::string Name() const = 0;
    /// Whether it covers the screen right now.
    virtual bool IsOn() const = 0;
    /// Whether Reset reaches something, as far as is known.
    virtual bool CanBeReset() const = 0;
    /// Asks it to take what happens now for user activity. Nothing where that cannot be done.
    virtual void Reset() = 0;
};
