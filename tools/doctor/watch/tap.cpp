#include "watch/tap.h"

#include <cstdio>
#include <utility>

#include "platform/virtual_key.h"

namespace doctor {
namespace {

bool Has(const std::string& text, const char* words) {
    return text.find(words) != std::string::npos;
}

}  // namespace

void Tap::OnMessage(const Message& message) {
    const std::lock_guard<std::mutex> hold(lock_);
    FollowMenuMode(message.text);
    FollowEnd(message);
    if (IsDispatcher() && !BeginsEvent(message.text) && open_) {
        open_->words.push_back(message.text);
    }
}

/// "Get a event[time,type,code,value], [MenuMode]" is what the service says first of each event.
bool Tap::BeginsEvent(const std::string& text) {
    Handled next;
    unsigned long long time = 0;
    if (std::sscanf(text.c_str(), "Get a event[%llu,%d,%d,%d]", &time, &next.input.type, &next.input.code,
                    &next.input.value) != 4) {
        return false;
    }
    FinishLocked();
    next.device = device_;
    next.is_menu_mode = is_menu_mode_ = !Has(text, "[NOT MenuMode]");
    next.held_before = held_;
    open_ = next;
    return true;
}

/// An end that somebody has asked for has no reason, and what is said on the way out is none either.
void Tap::FollowEnd(const Message& message) {
    if (Has(message.text, "Received Signal[")) {
        last_error_.clear();
        is_ending_ = true;
    }
    is_ending_ = is_ending_ || Has(message.text, "unref gmain loop");
    if (message.priority >= DLOG_ERROR && !is_ending_) {
        last_error_ = message.text;
    }
}

void Tap::FollowMenuMode(const std::string& text) {
    if (Has(text, "stop menu mode") || Has(text, "stop menumode")) {
        is_menu_mode_ = false;
    } else if (Has(text, "start menu mode") || Has(text, "start menumode")) {
        is_menu_mode_ = true;
    }
}

void Tap::OnKey(const SentKey& key) {
    const std::lock_guard<std::mutex> hold(lock_);
    if (key.action != KEY_ACTION_AUTO_PRESS_RELEASE) {
        held_ = key.action == KEY_ACTION_PRESS ? key.code : -1;
    }
    if (IsDispatcher() && open_) {
        open_->keys.push_back(key);
        return;
    }
    Handled alone;
    alone.keys.push_back(key);
    handled_.push_back(alone);
}

void Tap::OnOpened(int device, const std::string& uid) {
    const std::lock_guard<std::mutex> hold(lock_);
    uids_[device] = uid;
    opened_.push_back(uid);
}

std::vector<std::string> Tap::TakeOpened() {
    const std::lock_guard<std::mutex> hold(lock_);
    return std::exchange(opened_, {});
}

void Tap::OnTaken(int device, int /*count*/) {
    const std::lock_guard<std::mutex> hold(lock_);
    dispatcher_ = std::this_thread::get_id();
    FinishLocked();
    device_ = device;
}

void Tap::FinishLocked() {
    if (open_) {
        handled_.push_back(*std::exchange(open_, std::nullopt));
    }
}

std::vector<Handled> Tap::Take() {
    const std::lock_guard<std::mutex> hold(lock_);
    return std::exchange(handled_, {});
}

bool Tap::IsMenuMode() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return is_menu_mode_;
}

std::string Tap::UidOf(int device) const {
    const std::lock_guard<std::mutex> hold(lock_);
    const auto found = uids_.find(device);
    return found == uids_.end() ? "" : found->second;
}

std::string Tap::LastError() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return last_error_;
}

}  // namespace doctor
