#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "deadline.h"

/// One change of a key of the remote; the code is the kernel's, `down` is 1 or 0.
struct Key {
    int code;
    int down;
    Clock::time_point time{};  ///< of the kernel's event; not compared
};
bool operator==(const Key& one, const Key& other);
std::ostream& operator<<(std::ostream& out, const Key& key);

std::vector<Key> Pressed(int code);
std::vector<Key> Released(int code);
std::vector<Key> PressedAndReleased(int code);

/// Reads the remote as a desktop would: from the event node of "quorvex virtual remote".
///
/// Threads  one. Each change is delivered once the frame around it is complete.
class KeyReader {
public:
    /// Waits until the node is there; see Found().
    KeyReader();
    ~KeyReader();
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;

    bool Found() const { return fd_ >= 0; }
    const std::string& Node() const { return node_; }

    /// Waits for `count` changes; fewer are returned when no more come before `patience` is over, or the node goes.
    std::vector<Key> Read(size_t count, milliseconds patience = kPatience);
    /// Waits until the node goes away, and returns what it still delivered; nothing when it stays.
    std::optional<std::vector<Key>> ReadUntilGone(milliseconds patience = kPatience);

    /// The keys that whoever opens the node now would find held.
    std::vector<int> HeldKeys() const;
    /// True when each frame so far held one change, and each change was in a frame.
    bool OneKeyPerFrame() const { return oneKeyPerFrame_ && frame_.empty(); }

private:
    bool Fill(Clock::time_point deadline);

    int fd_ = -1;
    std::string node_;
    std::vector<Key> frame_;
    std::vector<Key> complete_;
    bool oneKeyPerFrame_ = true;
    bool gone_ = false;
};
