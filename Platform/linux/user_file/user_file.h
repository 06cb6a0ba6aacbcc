/// The text of a file that a person writes.
#pragma once

#include <optional>
#include <string>

/// Null, with errno set, when it cannot be read: EFBIG beyond 64 KiB, EINVAL for what is no regular file and would make
/// the reader wait.
std::optional<std::string> TextOf(const std::string& path);
