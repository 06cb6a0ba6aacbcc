/// What comes back from the store.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/was.h"
#include "was/store_queries.h"

constexpr std::chrono::seconds kDeadline{120};

struct StoreAnswer {
    std::string appId;
    int status = -1;
    std::string etag;
    std::thread::id thread{};
};

/// Collects answers; give its address as user data. Any thread.
class Answers {
public:
    static void Take(const char* app_id, was_app_status_e status, const char* etag, void* self);
    /// So many answers in the order of their arrival; fewer if they do not come in time.
    std::vector<StoreAnswer> WaitFor(size_t count);
    size_t Count();

private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<StoreAnswer> answers_;
};

/// Asks and waits for the one answer; fails the test when there is none.
StoreAnswer Ask(store::StoreQueries& queries, const std::string& title, const std::string& etag = "");
/// The same with the program of this build, which may take the time that a machine under load needs.
StoreAnswer Ask(const std::string& title, const std::string& etag = "");
