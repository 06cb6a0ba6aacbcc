#ifndef PLATFORM_LINUX_WAS_QUERY_PROGRAM_H
#define PLATFORM_LINUX_WAS_QUERY_PROGRAM_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/was.h"

namespace store {

using Deadline = std::chrono::steady_clock::time_point;

constexpr was_app_status_e kUnknownError = 2;

struct Answer {
    was_app_status_e status;
    std::string appId;
    std::string etag;
};

/// Asks the program quorvex-store-query, which ends with each answer: what reads files of all origins is never a part
/// of the service, whose memory, locks and life it cannot touch.
///
/// Threads  Run: one at a time. Stop: any thread, at any time.
class QueryProgram {
public:
    explicit QueryProgram(std::string path);
    ~QueryProgram();
    QueryProgram(const QueryProgram&) = delete;
    QueryProgram& operator=(const QueryProgram&) = delete;

    /// False: no answer by the deadline, or none that makes sense; told in a message, the answer is as it was. The
    /// program and all that it started are gone afterwards (bar one that not even the kernel can end just now).
    bool Run(const std::string& title, Deadline deadline, Answer& answer);
    /// Lets Run return at once, now and from now on, without a message.
    void Stop();

private:
    bool WasStopped() const;
    void End(pid_t program);
    void Reap();

    const std::string path_;
    const int stop_;
    std::vector<pid_t> unended_;
};

}  // namespace store

#endif
