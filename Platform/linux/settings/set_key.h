#pragma once

#include <string>

#include "settings/value.h"

/// What vconf_set_... do, for values of every type: 0, or -1 and, once for each reason, a message. Any thread.
int SetKey(const std::string& key, const Value& value);
