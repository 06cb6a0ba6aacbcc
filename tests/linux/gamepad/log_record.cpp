#include "log_record.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

#include "platform/dlog.h"

namespace {

std::mutex g_lock;
std::vector<std::string> g_lines;

}  // namespace

std::vector<std::string> TakeLog() {
    const std::lock_guard<std::mutex> hold(g_lock);
    return std::exchange(g_lines, {});
}

int __dlog_print(log_id_t, int, const char*, const char* format, ...) {
    std::array<char, 1024> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(  // NOLINT(clang-analyzer-valist.Uninitialized): it is, a line above
        line.data(), line.size(), format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> hold(g_lock);
    g_lines.emplace_back(line.data());
    return 0;
}
