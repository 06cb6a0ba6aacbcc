#include "CallRecorder.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

const std::set<std::string> kFunctions = {
    "aul_app_get_appid_bypid",
    "aul_app_get_status",
    "aul_listen_app_status_signal",
    "device_power_get_state",
    "device_power_set_state",
    "device_power_set_wakeup_reason",
    "device_power_subscribe_standby_event",
    "device_power_unsubscribe_standby_event",
    "gamepad_close",
    "gamepad_create_device",
    "gamepad_destroy_device",
    "gamepad_get_abs_value_range",
    "gamepad_get_all_gameapp_info_list",
    "gamepad_get_connected_device_Info",
    "gamepad_get_connected_gampad_count",
    "gamepad_get_events",
    "gamepad_open_for_custom_mode",
    "gamepad_register_connection_callback",
    "gamepad_register_gameapp_status_callback",
    "gamepad_unregister_connection_callback",
    "gamepad_unregister_gameapp_status_callback",
    "is_standard_gamepad",
    "screensaver_reset",
    "system_info_get_custom_bool",
    "system_info_get_value_int",
    "tzplatform_getenv",
    "vconf_get_bool",
    "vconf_get_int",
    "vconf_get_str",
    "vconf_ignore_key_changed",
    "vconf_keynode_get_bool",
    "vconf_keynode_get_int",
    "vconf_notify_key_changed",
    "vconf_set_int",
    "vconf_set_str",
    "VirtualKey_Finalize",
    "VirtualKey_Initialize",
    "VirtualKey_Send_KeyCode",
    "was_request_appid_by_runtitle",
};

void MustExist(const std::string& function) {
    if (kFunctions.count(function) == 0) {
        throw std::invalid_argument("the platform has no function " + function);
    }
}

std::string ThreadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

}  // namespace

std::string ArgumentText(const char* text) {
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}
std::string ArgumentText(int number) {
    return std::to_string(number);
}

std::string Call::Text() const {
    std::string text = function + '(';
    for (const std::string& argument : arguments) {
        text += (text.back() == '(' ? "" : ", ") + argument;
    }
    return text + ')';
}

const std::set<std::string>& CallRecorder::Functions() {
    return kFunctions;
}

void CallRecorder::Plan(const std::string& function, int nth, std::optional<int> value) {
    MustExist(function);
    const auto lock = Lock();
    Plans& plans = plans_[function];
    plans.byCall[nth == kEveryCall ? kEveryCall : plans.calls + nth] = value;
}

void CallRecorder::ForgetPlans(const std::string& function) {
    MustExist(function);
    const auto lock = Lock();
    plans_[function].byCall.clear();
}

void CallRecorder::OnCall(const std::string& function, std::function<void(const Call&)> hook) {
    MustExist(function);
    const auto lock = Lock();
    hooks_[function] = std::move(hook);
}

std::optional<int> CallRecorder::PlannedLocked(const std::string& function, int failure) {
    Plans& plans = plans_[function];
    ++plans.calls;
    auto plan = plans.byCall.find(plans.calls);
    if (plan == plans.byCall.end()) {
        plan = plans.byCall.find(kEveryCall);
    }
    return plan == plans.byCall.end() ? std::nullopt : std::optional<int>(plan->second.value_or(failure));
}

std::optional<int> CallRecorder::Enter(const char* function, std::vector<std::string> arguments, int failure) {
    const Call call{function, std::move(arguments), ThreadName(), static_cast<pid_t>(syscall(SYS_gettid))};
    std::optional<int> planned;
    std::function<void(const Call&)> hook;
    {
        const auto lock = Lock();
        calls_.push_back(call);
        if (call.function != "gamepad_get_events") {
            timeline_.push_back({call.Text(), call.thread});
        }
        planned = PlannedLocked(call.function, failure);
        const auto found = hooks_.find(call.function);
        hook = found == hooks_.end() ? nullptr : found->second;
    }
    changed_.notify_all();
    if (hook) {
        hook(call);
    }
    return planned;
}

std::vector<Call> CallRecorder::Calls(const std::string& function) const {
    MustExist(function);
    const auto lock = Lock();
    std::vector<Call> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [&](const Call& call) { return call.function == function; });
    return found;
}

std::vector<std::string> CallRecorder::CallTexts(const std::string& function) const {
    std::vector<std::string> texts;
    for (const Call& call : Calls(function)) {
        texts.push_back(call.Text());
    }
    return texts;
}

int CallRecorder::CallCount(const std::string& function) const {
    return static_cast<int>(Calls(function).size());
}

std::vector<std::string> CallRecorder::Timeline() const {
    const auto lock = Lock();
    std::vector<std::string> texts;
    for (const Moment& moment : timeline_) {
        texts.push_back(moment.text);
    }
    return texts;
}

std::vector<std::string> CallRecorder::TimelineOf(const std::string& thread) const {
    const auto lock = Lock();
    std::vector<std::string> texts;
    for (const Moment& moment : timeline_) {
        if (moment.thread == thread) {
            texts.push_back(moment.text);
        }
    }
    return texts;
}

void CallRecorder::AppendToTimelineLocked(const std::string& entry) {
    timeline_.push_back({entry, ThreadName()});
}

bool CallRecorder::WaitForCall(const std::string& function, int count, std::chrono::milliseconds atMost) const {
    MustExist(function);
    const auto often_enough = [&] {
        return std::count_if(calls_.begin(), calls_.end(),
                             [&](const Call& call) { return call.function == function; }) >= count;
    };
    return WaitUntil(often_enough, atMost);
}

void CallRecorder::ViolateLocked(const std::string& what) {
    violations_.push_back(what + " [" + ThreadName() + "]");
}

std::vector<std::string> CallRecorder::TakeViolations() {
    const auto lock = Lock();
    return std::exchange(violations_, {});
}

void CallRecorder::AllowViolations() {
    const auto lock = Lock();
    violationsAllowed_ = true;
}

void CallRecorder::JudgeCalls() const {
    const auto lock = Lock();
    for (const std::string& violation : violations_) {
        EXPECT_TRUE(violationsAllowed_) << "the platform was misused: " << violation;
    }
}
