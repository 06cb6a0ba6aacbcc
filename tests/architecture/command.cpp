#include "command.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>

Finished Run(const std::string& command) {
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return {-1, "popen failed"};
    }
    std::string output;
    std::array<char, 4096> block{};
    for (size_t read = 0; (read = fread(block.data(), 1, block.size(), pipe)) > 0;) {
        output.append(block.data(), read);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) {
        quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
    }
    return quoted + "'";
}
