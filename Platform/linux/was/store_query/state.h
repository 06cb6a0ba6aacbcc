/// What a look-up depends on.
#pragma once

#include <string>

/// A text that changes when a directory of applications or catalogues has changed: the same one means the same answers.
/// Never empty.
std::string StateTag();
