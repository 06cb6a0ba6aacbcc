/// What the platform logged: this program's own __dlog_print keeps the lines.
#pragma once

#include <string>
#include <vector>

/// All lines since the last call. Any thread.
std::vector<std::string> TakeLog();
