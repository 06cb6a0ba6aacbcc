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
    const auto effect = [&] { return StartLocked(title, callback, user); };
    return recorder_.RunWithAll(
        title != nullptr && title[0] != '\0' && callback != nullptr, "was_request_appid_by_runtitle",
        {ArgumentText(title), ArgumentText(etag), PointerText(callback != nullptr), PointerText(user != nullptr)},
        kZeroIsSuccess, effect);
}

int FakeStore::StartLocked(const char* title, was_appid_fn callback, void* user) {
    const auto found = byTitle_.find(title);
    const Query query{found == byTitle_.end() ? usual_ : found->second, callback, user};
    if (query.answer.refusal == 0 && query.answer.when == StoreAnswer::When::Soon) {
        Answer(query);
    } else if (query.answer.refusal == 0 && query.answer.when == StoreAnswer::When::WhenTold) {
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
