#include "platform/was.h"

#include <cstdlib>
#include <exception>

#include "was/store_queries.h"

namespace {

constexpr std::chrono::seconds kAnswerLimit{10};  // a first look into a large catalogue on a slow disk takes a few

std::string QueryProgramPath() {
    const char* path = std::getenv("QUORVEX_STORE_QUERY");
    return path != nullptr && path[0] == '/' ? path : QUERY_PROGRAM;
}

// Closed at the end of the process and never destroyed: other threads may ask even then, and are refused.
store::StoreQueries& TheQueries() {
    static store::StoreQueries& queries = []() -> store::StoreQueries& {
        auto& made = *new store::StoreQueries(QueryProgramPath(), kAnswerLimit);
        std::atexit([] { TheQueries().Close(); });
        return made;
    }();
    return queries;
}

bool IsEmpty(const char* text) {
    return text == nullptr || text[0] == '\0';
}

}  // namespace

int was_request_appid_by_runtitle(const char* runtitle, const char* etag, was_appid_fn callback, void* user_data) try {
    if (IsEmpty(runtitle) || callback == nullptr) {
        return -1;
    }
    return TheQueries().Ask({runtitle, etag != nullptr ? etag : "", callback, user_data}) ? 0 : -1;
} catch (const std::exception&) {
    return -1;
}
