#include "child_process.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() {
        if (pipe(ends) != 0) {
            std::abort();
        }
    }
    void Close(int end) {
        close(ends[end]);
        ends[end] = -1;
    }
};

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

[[noreturn]] void BeTheChild(const Environment& environment, const std::function<void()>& body, Pipe& out, Pipe& err) {
    for (const auto& [name, value] : environment) {
        value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    }
    dup2(out.ends[1], STDOUT_FILENO);
    dup2(err.ends[1], STDERR_FILENO);
    for (Pipe* pipe : {&out, &err}) {
        pipe->Close(0);
        pipe->Close(1);
    }
    body();
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

// True while more may come.
bool ReadSome(int fd, std::string& text) {
    std::array<char, 4096> buffer;
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    return count > 0;
}

void ReadBoth(Pipe& out, Pipe& err, ChildOutput& output, pid_t child) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (out.ends[0] >= 0 || err.ends[0] >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ready[] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}};
        if (left <= 0 || poll(ready, 2, static_cast<int>(left)) == 0) {
            kill(child, SIGKILL);
            break;
        }
        if (ready[0].revents != 0 && !ReadSome(out.ends[0], output.out)) {
            out.Close(0);
        }
        if (ready[1].revents != 0 && !ReadSome(err.ends[0], output.err)) {
            err.Close(0);
        }
    }
}

}  // namespace

std::vector<std::string> ChildOutput::OutLines() const {
    return Lines(out);
}

std::vector<std::string> ChildOutput::ErrLines() const {
    return Lines(err);
}

ChildOutput RunInChild(const Environment& environment, const std::function<void()>& body) {
    Pipe out;
    Pipe err;
    fflush(nullptr);  // or the child would print what waits to be printed here
    const pid_t child = fork();
    if (child == 0) {
        BeTheChild(environment, body, out, err);
    }
    out.Close(1);
    err.Close(1);
    ChildOutput output{-1, "", ""};
    ReadBoth(out, err, output, child);
    waitpid(child, &output.status, 0);
    for (Pipe* pipe : {&out, &err}) {
        if (pipe->ends[0] >= 0) {
            pipe->Close(0);
        }
    }
    return output;
}

void RunThreads(int count, const std::function<void(int)>& body) {
    std::vector<std::thread> threads(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads[static_cast<size_t>(i)] = std::thread(body, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
