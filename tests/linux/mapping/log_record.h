/// What the code under test said through __dlog_print since the last call, as "tag: text".
#pragma once

#include <string>
#include <vector>

std::vector<std::string> TakeLog();
