#include "was/store_queries.h"

#include <pthread.h>
#include <signal.h>

#include <system_error>
#include <utility>

#include "platform/dlog.h"

namespace store {

namespace {

// Threads inherit the mask of signals of their maker.
class WithoutSignals {
public:
    WithoutSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;

private:
    sigset_t before_;
};

}  // namespace

StoreQueries::StoreQueries(std::string program, std::chrono::milliseconds limit)
    : limit_(limit), program_(std::move(program)) {}

bool StoreQueries::Ask(Query query) {
    const Hold hold(lock_);
    if (isClosed_) {
        return false;
    }
    asked_.push_back({std::move(query), std::chrono::steady_clock::now() + limit_});
    if (!WorksLocked()) {
        asked_.pop_back();
        return false;
    }
    return true;
}

// The former thread has nothing left to do but to end when it is seen not to work any more.
bool StoreQueries::WorksLocked() {
    if (isWorking_) {
        return true;
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    try {
        const WithoutSignals duringTheStart;
        thread_ = std::thread([this] { Work(); });
        return isWorking_ = true;
    } catch (const std::system_error& error) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "no thread for the store, applications are not looked up: %s",
                     error.what());
        return false;
    }
}

void StoreQueries::Work() {
    pthread_setname_np(pthread_self(), "platform-store");
    Asked asked;
    bool isClosed = false;
    while (Next(asked, isClosed)) {
        Answer(asked, isClosed);
    }
}

bool StoreQueries::Next(Asked& asked, bool& isClosed) {
    const Hold hold(lock_);
    if (asked_.empty()) {
        return isWorking_ = false;
    }
    asked = std::move(asked_.front());
    asked_.pop_front();
    isClosed = isClosed_;
    return true;
}

void StoreQueries::Answer(const Asked& asked, bool isClosed) {
    const Query& query = asked.query;
    store::Answer answer{kUnknownError, "", query.etag};
    if (!isClosed) {
        program_.Run(query.title, asked.deadline, answer);
    }
    query.callback(answer.appId.c_str(), answer.status, answer.etag.c_str(), query.userData);
}

void StoreQueries::Close() {
    {
        const Hold hold(lock_);
        isClosed_ = true;
        program_.Stop();
    }
    if (thread_.get_id() != std::this_thread::get_id()) {
        if (thread_.joinable()) {
            thread_.join();
        }
        return;
    }
    // A callback ends the process: the thread never comes back to the queries that are left.
    thread_.detach();
    Asked asked;
    for (bool isClosed = true; Next(asked, isClosed);) {
        Answer(asked, isClosed);
    }
}

}  // namespace store
