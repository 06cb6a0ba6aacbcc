/// On which a child writes when it has come so far.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

class Fifo {
public:
    explicit Fifo(std::string path) : path_(std::move(path)) { mkfifo(path_.c_str(), 0600); }

    const std::string& Path() const { return path_; }
    /// Until it was written to and closed.
    void Await() const {
        const int end = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        std::array<char, 16> text;
        while (read(end, text.data(), text.size()) > 0) {
        }
        close(end);
    }

private:
    const std::string path_;
};
