#include "log_record.h"

#include <platform/dlog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {
std::vector<std::string> gLines;
}

std::vector<std::string> TakeLog() {
    return std::exchange(gLines, {});
}

extern "C" int __dlog_print(log_id_t, int, const char* tag, const char* format, ...) {
    std::array<char, 1024> text{};
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(  // NOLINT(clang-analyzer-valist.Uninitialized): it is, a line above
        text.data(), text.size(), format, arguments);
    va_end(arguments);
    gLines.push_back(std::string(tag) + ": " + text.data());
    return length;
}
