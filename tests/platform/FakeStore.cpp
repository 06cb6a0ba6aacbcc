#include "FakeStore.h"

#include <utility>

void FakeStore::SetStoreAnswer(const StoreAnswer& answer) {
    const auto lock = recorder_.Lock();
    usual_ = answer;
}

void FakeStore::SetStoreAnswer(const std::string& title, const StoreAnswer& answer) {
    const auto lock = recorder_.Lock();
    byTitle_[title] = answer;
}

void FakeStore::GiveHeldAnswers() {
    auto lock = recorder_.Lock();
    for (const Query& query : std::exchange(held_, {})) {
        Answer(query);
    }
}

void FakeStore::SendHeldAnswersToNobody() {
    const auto lock = recorder_.Lock();
    for (const Query& query : held_) {
        Answer({query.answer, query.callback, nullptr});
    }
}

int FakeStore::OnRequest(const char* title, const char* etag, was_appid_fn callback, void* user) {
    const std::string tag = ArgumentText(etag);
    bool answersFirst = false;
    const auto effect = [&] {
        const Query query = QueryLocked(title, callback, user);
        answersFirst = query.answer.when == StoreAnswer::When::BeforeReturning;
        return StartLocked(query);
    };
    const int result = recorder_.RunWithAll(
        title != nullptr && title[0] != '\0' && callback != nullptr, "was_request_appid_by_runtitle",
        {ArgumentText(title), tag, PointerText(callback != nullptr), PointerText(user != nullptr)}, kZeroIsSuccess,
        effect);
    if (answersFirst) {
        ReadTagOnceMore(etag, tag);
    }
    return result;
}

void FakeStore::ReadTagOnceMore(const char* etag, const std::string& before) {
    const bool answered = thread_.WaitUntilIdle(kSoon);
    const auto lock = recorder_.Lock();
    if (!answered) {
        recorder_.ViolateLocked("the store's callback does not return");
    }
    if (ArgumentText(etag) != before) {
        recorder_.ViolateLocked("the tag " + before + " was changed while the store used it");
    }
}

FakeStore::Query FakeStore::QueryLocked(const char* title, was_appid_fn callback, void* user) const {
    const auto found = byTitle_.find(title);
    return {found == byTitle_.end() ? usual_ : found->second, callback, user};
}

int FakeStore::StartLocked(const Query& query) {
    using When = StoreAnswer::When;
    const When when = query.answer.when;
    if (query.answer.refusal == 0 && (when == When::Soon || when == When::BeforeReturning)) {
        Answer(query);
    } else if (query.answer.refusal == 0 && when == When::WhenTold) {
        held_.push_back(query);
    }
    return query.answer.refusal;
}

void FakeStore::Answer(const Query& query) {
    thread_.Post([query] {
        const auto text = [](const std::optional<std::string>& one) { return one ? one->c_str() : nullptr; };
        query.callback(text(query.answer.appId), query.answer.status, text(query.answer.etag), query.user);
    });
}
