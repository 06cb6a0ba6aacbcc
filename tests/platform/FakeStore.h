#pragma once

#include <platform/was.h>

#include <deque>
#include <map>
#include <optional>
#include <string>

#include "CallRecorder.h"
#include "LibraryThread.h"

/// How the app-store manager answers a query. The texts may be absent (NULL).
struct StoreAnswer {
    /// BeforeReturning: while the query is still under way, and the store then reads the query's tag once more.
    enum class When { Soon, BeforeReturning, WhenTold, Never };

    int status = 0;
    std::optional<std::string> appId = "app.id";
    std::optional<std::string> etag = "etag";
    When when = When::Soon;
    int refusal = 0;  ///< other than 0: the query is refused with this result and never answered
};

/// The app-store manager: every title is known and installed at first. Answers come on the thread "store-lib".
class FakeStore {
public:
    explicit FakeStore(CallRecorder& recorder) : recorder_(recorder), thread_("store-lib") {}

    void SetStoreAnswer(const StoreAnswer& answer);  ///< for every title without one of its own
    void SetStoreAnswer(const std::string& title, const StoreAnswer& answer);  ///< for this title
    void GiveHeldAnswers();                                                    ///< those that waited to be told
    void SendHeldAnswersToNobody();                                            ///< without user data; they stay held
    bool WaitUntilStoreAnswered(std::chrono::milliseconds atMost = kSoon) const {
        return thread_.WaitUntilIdle(atMost);
    }

    int OnRequest(const char* title, const char* etag, was_appid_fn callback, void* user);

protected:
    LibraryThread& StoreThread() { return thread_; }

private:
    struct Query {
        StoreAnswer answer;
        was_appid_fn callback;
        void* user;
    };

    Query QueryLocked(const char* title, was_appid_fn callback, void* user) const;
    int StartLocked(const Query& query);
    void ReadTagOnceMore(const char* etag, const std::string& before);
    void Answer(const Query& query);

    CallRecorder& recorder_;
    StoreAnswer usual_;
    std::map<std::string, StoreAnswer> byTitle_;
    std::deque<Query> held_;
    LibraryThread thread_;
};
