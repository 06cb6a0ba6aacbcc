/// What the user says of the machine: the group [product] of product.conf in $XDG_CONFIG_HOME/quorvex
/// (~/.config/quorvex).
///
/// Threads  any. The file is read at each question.
/// Errors   a file or value that cannot be understood is one message, which names it, and counts as not there.
#pragma once

#include <optional>

std::optional<bool> ProductFlag(const char* key);
std::optional<int> ProductNumber(const char* key);
