#pragma once

#include <cstddef>
#include <string>

/// The folder whose app configuration file binds what the config of this number in kConfigs says. The folders are
/// written once, and removed when the program ends.
std::string ConfigFolder(size_t config);
