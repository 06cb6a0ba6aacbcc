#include "caught.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "platform/device_power.h"
#include "platform/gamepad.h"
#include "platform/screensaver.h"
#include "platform/vconf.h"
#include "platform/virtual_key.h"

namespace doctor {
namespace {

/// Never destroyed: threads of the platform may speak while the program ends.
struct Place {
    std::mutex lock;
    Catcher* catcher = nullptr;
};
Place& ThePlace() {
    static Place& place = *new Place;
    return place;
}

Catcher* Exchange(Catcher* catcher) {
    const std::lock_guard<std::mutex> hold(ThePlace().lock);
    return std::exchange(ThePlace().catcher, catcher);
}

template <typename Tell>
void ToCatcher(const Tell& tell) {
    const std::lock_guard<std::mutex> hold(ThePlace().lock);
    if (ThePlace().catcher != nullptr) {
        tell(*ThePlace().catcher);
    }
}

/// "file: function(line) > " goes.
std::string WithoutPlace(const std::string& text) {
    const std::size_t end = text.find(") > ");
    return end == std::string::npos || text.find(".cpp: ") > end ? text : text.substr(end + 4);
}

std::string NotThere(const std::string& server) {
    return server + ": not there (";
}

}  // namespace

Catching::Catching(Catcher& catcher) : before_(Exchange(&catcher)) {}

Catching::~Catching() {
    Exchange(before_);
}

void Notes::OnMessage(const Message& message) {
    const std::lock_guard<std::mutex> hold(lock_);
    messages_.push_back(message);
}

std::vector<Message> Notes::All() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return messages_;
}

std::vector<std::string> Notes::NewErrors() {
    const std::lock_guard<std::mutex> hold(lock_);
    std::vector<std::string> errors;
    for (; seen_ < messages_.size(); ++seen_) {
        if (messages_[seen_].priority >= DLOG_ERROR) {
            errors.push_back(messages_[seen_].text);
        }
    }
    return errors;
}

std::string Notes::WhyMissing(const std::string& server) const {
    const std::lock_guard<std::mutex> hold(lock_);
    const std::string beginning = NotThere(server);
    for (const Message& message : messages_) {
        if (message.text.compare(0, beginning.size(), beginning) == 0) {
            return message.text.substr(beginning.size(), message.text.find(')') - beginning.size());
        }
    }
    return "";
}

}  // namespace doctor

// The linker leads the calls of all objects here.
extern "C" {

__attribute__((format(printf, 4, 5))) int __wrap___dlog_print(log_id_t /*log_id*/, int priority, const char* /*tag*/,
                                                              const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(  // NOLINT(clang-analyzer-valist.Uninitialized): it is, a line above
        text, sizeof text, format, arguments);
    va_end(arguments);
    const doctor::Message message{priority, doctor::WithoutPlace(text)};
    doctor::ToCatcher([&message](doctor::Catcher& catcher) { catcher.OnMessage(message); });
    return length;
}

int __wrap_VirtualKey_Initialize(const char* /*client_name*/) {
    return 1;
}

int __wrap_VirtualKey_Send_KeyCode(int key_code, int action) {
    doctor::ToCatcher([&](doctor::Catcher& catcher) { catcher.OnKey({key_code, action}); });
    return 1;
}

void __wrap_VirtualKey_Finalize(void) {}

int __wrap_vconf_set_int(const char* /*key*/, int /*value*/) {
    return 0;
}

int __wrap_vconf_set_str(const char* /*key*/, const char* /*value*/) {
    return 0;
}

int __wrap_screensaver_reset(void) {
    return 0;
}

int __wrap_device_power_subscribe_standby_event(device_power_standby_fn /*callback*/, void* /*user_data*/) {
    return 0;
}

int __wrap_device_power_unsubscribe_standby_event(device_power_standby_fn /*callback*/) {
    return 0;
}

int __wrap_device_power_set_wakeup_reason(int /*reason*/) {
    return 0;
}

int __wrap_device_power_set_state(int /*state*/, int /*flag*/) {
    return 0;
}

int __real_gamepad_create_device(const char* uid, int* device_id);
int __wrap_gamepad_create_device(const char* uid, int* device_id) {
    const int result = __real_gamepad_create_device(uid, device_id);
    if (result == 1) {
        doctor::ToCatcher([&](doctor::Catcher& catcher) { catcher.OnOpened(*device_id, uid); });
    }
    return result;
}

int __real_gamepad_get_events(int device_id, _gamepad_event_s* events, int* count);
int __wrap_gamepad_get_events(int device_id, _gamepad_event_s* events, int* count) {
    const int result = __real_gamepad_get_events(device_id, events, count);
    doctor::ToCatcher([&](doctor::Catcher& catcher) { catcher.OnTaken(device_id, result == 1 ? *count : 0); });
    return result;
}

}  // extern "C"
