/// The mappings that the program carries: lines of the community format, written by tool/write_built_in.cpp at build
/// time and kept as read-only text, of which only the lines of a connected pad are ever parsed.
#pragma once

#include <string_view>

namespace mapping {

std::string_view BuiltInMappings();

}  // namespace mapping
