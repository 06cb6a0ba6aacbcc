/// Where applications and catalogues are installed.
#pragma once

#include <string>
#include <vector>

/// $XDG_DATA_HOME and then $XDG_DATA_DIRS, or what stands for them where they are not set.
std::vector<std::string> DataDirectories();
