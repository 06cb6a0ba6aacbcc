/// The user's key map, as its file says at any time.
#pragma once

#include <memory>
#include <string>

#include "virtual_key/key_map.h"

/// Reads the file into the map when it is made, and then whenever it changes.
///
/// Threads  made and destroyed on any. Neither waits for a notice that is being delivered: the file may be read into
/// the
///          map for a moment longer.
/// Errors   a file that is not there replaces nothing; nor does one that cannot be read, which is told of once. What is
///          wrong in it is told of by file and line, once for each text.
class KeyMapFile {
public:
    KeyMapFile(std::string path, std::shared_ptr<KeyMap> map);
    ~KeyMapFile();
    KeyMapFile(const KeyMapFile&) = delete;
    KeyMapFile& operator=(const KeyMapFile&) = delete;

private:
    struct Follower;
    std::shared_ptr<Follower> follower_;
};
