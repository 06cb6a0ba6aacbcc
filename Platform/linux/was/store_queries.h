#ifndef PLATFORM_LINUX_WAS_STORE_QUERIES_H
#define PLATFORM_LINUX_WAS_STORE_QUERIES_H

#include <chrono>
#include <deque>
#include <string>
#include <thread>

#include "locks/locks.h"
#include "platform/was.h"
#include "was/query_program.h"

namespace store {

/// A query as it was asked.
struct Query {
    std::string title;
    std::string etag;
    was_appid_fn callback;
    void* userData;
};

/// Answers queries one after another, each exactly once, on one thread, "platform-store", that runs while there are
/// any.
///
/// Threads  any, also the callbacks'. No lock is held while a callback runs; all signals are blocked on the thread.
/// Time     a query is answered within the limit after it was asked, with status 2 and its own etag when nothing is
///          known by then (plus the time that earlier callbacks take).
class StoreQueries {
public:
    StoreQueries(std::string program, std::chrono::milliseconds limit);
    ~StoreQueries() { Close(); }
    StoreQueries(const StoreQueries&) = delete;
    StoreQueries& operator=(const StoreQueries&) = delete;

    /// False: not started and never answered (no thread can be had, or closed).
    bool Ask(Query query);
    /// Answers all that was asked with status 2 at once; has answered when it returns. Nothing is started afterwards.
    void Close();

private:
    struct Asked {
        Query query;
        Deadline deadline;
    };

    bool WorksLocked() REQUIRES(lock_);
    void Work();
    bool Next(Asked& asked, bool& isClosed);
    void Answer(const Asked& asked, bool isClosed);

    const std::chrono::milliseconds limit_;
    QueryProgram program_;  // the thread's
    Lock lock_;
    std::deque<Asked> asked_ GUARDED_BY(lock_);
    std::thread thread_;
    bool isWorking_ GUARDED_BY(lock_) = false;
    bool isClosed_ GUARDED_BY(lock_) = false;
};

}  // namespace store

#endif
