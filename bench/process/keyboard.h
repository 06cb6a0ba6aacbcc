#pragma once

#include <linux/input.h>

#include <string>
#include <vector>

#include "deadline.h"

/// The keyboard that a program makes, whatever it is called: the first node with an Enter key that comes after
/// construction. Reads when Enter goes down and up, by the kernel's own time.
///
/// Threads  one.
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /// Returns as soon as the node exists; false when none comes.
    bool Wait(milliseconds patience = kPatience);

    /// Takes what has come; must be called more often than every thirty keys, which is what the kernel keeps.
    void Drain();
    /// Drains until a key has gone down or the patience is over.
    bool WaitForPress(milliseconds patience);
    void Forget();

    const std::vector<Clock::time_point>& Presses() const { return presses_; }
    const std::vector<Clock::time_point>& Releases() const { return releases_; }
    /// How many keys are down.
    int Held() const;

private:
    bool TakeNotices();
    bool Open(const std::string& name);
    void Take(const input_event& event);

    int notices_ = -1;
    int fd_ = -1;
    std::vector<Clock::time_point> presses_;
    std::vector<Clock::time_point> releases_;
};
