#pragma once

#include <vector>

#include "key_reader.h"

/// The keys that another handler in the kernel sees: its text console. Unlike a reader of the event node, it is told
/// what the kernel itself releases when a keyboard disappears. Only codes below 128.
///
/// Threads  one. The console is left as it was found.
class ConsoleKeys {
public:
    ConsoleKeys();
    ~ConsoleKeys();
    ConsoleKeys(const ConsoleKeys&) = delete;
    ConsoleKeys& operator=(const ConsoleKeys&) = delete;

    bool Open() const { return fd_ >= 0; }
    std::vector<Key> Read(size_t count, milliseconds patience = kPatience);

private:
    int fd_;
    int modeBefore_ = 0;
};
