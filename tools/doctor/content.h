#pragma once

#include <string>

namespace doctor {

/// The file's bytes as far as they can be read; none of a file that is not there, is a folder, or goes while it is
/// read, as a process does.
std::string ContentOf(const std::string& path);

}  // namespace doctor
