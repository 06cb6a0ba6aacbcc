/// The keys that a user wants in the place of others.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "locks/locks.h"

/// Platform key code to the platform key code that is sent for it.
using KeyTable = std::map<int, int>;

/// A line for each key: a platform key code and the kernel's name of a key, blanks between them; "#" starts a comment.
/// What is wrong is added to complaints, a sentence for each line, and left out of the table.
KeyTable ReadKeyTable(const std::string& text, std::vector<std::string>& complaints);

/// $XDG_CONFIG_HOME/quorvex/keymap
std::string KeyMapPath();

/// Threads  any.
class KeyMap {
public:
    /// The platform code that is sent for this one: itself, unless the table says otherwise.
    int Sent(int platformCode) const;
    void Replace(KeyTable table);

private:
    mutable Lock lock_;
    KeyTable table_ GUARDED_BY(lock_);
};
