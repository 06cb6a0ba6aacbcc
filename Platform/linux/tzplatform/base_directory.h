/// The user's base directories.
#pragma once

#include <string>

/// The value of an XDG variable, or fallback below the user's home directory where the variable is unset, empty or
/// relative (a relative path would mean another place after each change of directory, and counts as unset).
std::string BaseDirectory(const char* variable, const char* fallback);

/// $HOME if it is absolute, else the user's entry in the password database, else "/".
std::string HomeDirectory();
