#include "answers.h"

#include <gtest/gtest.h>

void Answers::Take(const char* app_id, was_app_status_e status, const char* etag, void* self) {
    Answers& answers = *static_cast<Answers*>(self);
    const std::lock_guard<std::mutex> hold(answers.lock_);
    answers.answers_.push_back({app_id, status, etag, std::this_thread::get_id()});
    answers.arrived_.notify_all();
}

std::vector<StoreAnswer> Answers::WaitFor(size_t count) {
    std::unique_lock<std::mutex> hold(lock_);
    arrived_.wait_for(hold, kDeadline, [&] { return answers_.size() >= count; });
    return answers_;
}

size_t Answers::Count() {
    const std::lock_guard<std::mutex> hold(lock_);
    return answers_.size();
}

StoreAnswer Ask(store::StoreQueries& queries, const std::string& title, const std::string& etag) {
    // An answer that is late must still find its place.
    auto* answers = new Answers;
    EXPECT_TRUE(queries.Ask({title, etag, Answers::Take, answers}));
    const std::vector<StoreAnswer> arrived = answers->WaitFor(1);
    if (arrived.empty()) {
        ADD_FAILURE() << "no answer for " << title;
        return {};
    }
    delete answers;
    return arrived[0];
}

StoreAnswer Ask(const std::string& title, const std::string& etag) {
    store::StoreQueries queries(QUERY_PROGRAM, kDeadline);
    return Ask(queries, title, etag);
}
