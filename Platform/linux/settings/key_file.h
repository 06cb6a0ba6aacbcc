/// Settings keys as small files: where they are, reading and writing one.
///
/// Threads  any; nothing is shared but the file system and the environment.
/// Errors   returned as a Problem; nothing is printed here and nothing throws but std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "settings/value.h"

/// What keeps a key from being used, for people.
struct Problem {
    std::string about;  // the file, variable or key; one of these has at most one problem at a time
    std::string text;   // names what is wrong, where, and what holds now
};

/// What a key's file held at one moment: a value, a problem, or neither where the key is unset.
struct Reading {
    std::string path;
    std::optional<Value> value;
    std::optional<Problem> problem;
    bool empty = false;  // a problem that may be a writer's doing: it has emptied the file and goes on to fill it
};

/// "memory/..." is below $XDG_RUNTIME_DIR/quorvex, every other key below $XDG_STATE_HOME/quorvex (or
/// ~/.local/state/quorvex). A key is 1 to 240 bytes of UTF-8 without control characters, its parts between the slashes
/// are neither empty nor "." nor "..".
std::variant<std::string, Problem> LocateKey(const std::string& key);

/// Never waits, whatever stands in the file's place; follows no symbolic link at the end of the path.
Reading ReadKey(const std::string& key);

/// The same for a path that LocateKey gave.
Reading ReadKeyFile(const std::string& path);

/// Replaces the file atomically (mode 0600), making its directories (mode 0700); a "db/" key is on the disk afterwards.
/// A problem of the writing itself is about "set KEY".
std::optional<Problem> WriteKey(const std::string& key, const Value& value);
