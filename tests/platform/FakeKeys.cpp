#include "FakeKeys.h"

#include <platform/virtual_key.h>
#include <pthread.h>

#include <utility>

void PrintTo(const SentKey& key, std::ostream* out) {
    static const char* const kNames[] = {"Released", "Pressed", "Tapped"};
    const bool known = key.action >= 0 && key.action <= 2;
    *out << (known ? kNames[key.action] : "action " + std::to_string(key.action)) << '(' << key.code << ')';
}

bool operator==(const SentKey& one, const SentKey& other) {
    return one.code == other.code && one.action == other.action;
}

std::vector<SentKey> FakeKeys::TakeKeys() {
    const auto lock = recorder_.Lock();
    return std::exchange(keys_, {});
}

std::vector<SentKey> FakeKeys::Keys() const {
    const auto lock = recorder_.Lock();
    return keys_;
}

bool FakeKeys::WaitForKeys(size_t count, std::chrono::milliseconds atMost) const {
    return recorder_.WaitUntil([&] { return keys_.size() >= count; }, atMost);
}

std::set<int> FakeKeys::KeysDown() const {
    const auto lock = recorder_.Lock();
    return down_;
}

int FakeKeys::OnInitialize(const char* client) {
    return recorder_.Run("VirtualKey_Initialize", {ArgumentText(client)}, kOneIsSuccess, [&] {
        if (initialized_) {
            recorder_.ViolateLocked("VirtualKey_Initialize a second time");
        }
        initialized_ = true;
        return 1;
    });
}

int FakeKeys::OnSend(int code, int action) {
    const auto effect = [&] {
        NoteLocked(code, action);
        char thread[16] = {};
        pthread_getname_np(pthread_self(), thread, sizeof thread);
        keys_.push_back({code, action, thread});
        return 1;
    };
    return recorder_.Run("VirtualKey_Send_KeyCode", {ArgumentText(code), ArgumentText(action)}, kOneIsSuccess, effect);
}

void FakeKeys::NoteLocked(int code, int action) {
    if (!initialized_) {
        recorder_.ViolateLocked("key " + std::to_string(code) + " outside VirtualKey_Initialize and Finalize");
    } else if (action == KEY_ACTION_PRESS && !down_.insert(code).second) {
        recorder_.ViolateLocked("key " + std::to_string(code) + " pressed while it is down");
    } else if (action == KEY_ACTION_RELEASE && down_.erase(code) == 0) {
        recorder_.ViolateLocked("key " + std::to_string(code) + " released while it is up");
    } else if (action < KEY_ACTION_RELEASE || action > KEY_ACTION_AUTO_PRESS_RELEASE) {
        recorder_.ViolateLocked("key action " + std::to_string(action));
    }
}

void FakeKeys::OnFinalize() {
    recorder_.Run("VirtualKey_Finalize", {}, kOneIsSuccess, [&] {
        if (!initialized_) {
            recorder_.ViolateLocked("VirtualKey_Finalize without Initialize");
        }
        initialized_ = false;
        down_.clear();
        return 1;
    });
}

void FakeKeys::AppendKeyLeftovers(std::vector<std::string>& leftovers) const {
    const auto lock = recorder_.Lock();
    if (initialized_) {
        leftovers.emplace_back("VirtualKey_Initialize");
    }
    for (const int code : down_) {
        leftovers.push_back("key " + std::to_string(code) + " down");
    }
}
