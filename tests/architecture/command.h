#pragma once

#include <string>

/// What a finished command has written, both streams, and its exit status.
struct Finished {
    int status;
    std::string output;
};

/// Runs a shell command to its end.
Finished Run(const std::string& command);

/// The text as one word of a shell command.
std::string Quoted(const std::string& text);
