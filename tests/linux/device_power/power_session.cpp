#include "power_session.h"

#include "platform/screensaver.h"
#include "platform/vconf.h"

namespace {

std::string CallLogind(const std::string& methodAndArguments) {
    return OutputOf(
        "gdbus call --system --dest org.freedesktop.login1 --object-path /org/freedesktop/login1 --method " +
        methodAndArguments);
}

void Nothing(keynode_t* /*node*/, void* /*unused*/) {}

// Waking up resets the screensavers, which stay in use for a while unless their state is watched no more.
void EndUseOfScreensavers() {
    constexpr char kState[] = "memory/window_system/screensaver_on_off";
    EXPECT_EQ(vconf_notify_key_changed(kState, Nothing, nullptr), 0);
    EXPECT_EQ(vconf_ignore_key_changed(kState, Nothing), 0);
}

}  // namespace

void StandbyNotes::Callback(_device_poweroff_info* /*info*/, void* self) {
    auto& notes = *static_cast<StandbyNotes*>(self);
    if (notes.inside) {
        notes.inside();
    }
    const std::lock_guard<std::mutex> lock(notes.lock_);
    notes.states_.push_back(device_power_get_state());
}

std::vector<int> StandbyNotes::States() const {
    const std::lock_guard<std::mutex> lock(lock_);
    return states_;
}

void PowerSession::TearDown() {
    device_power_unsubscribe_standby_event(StandbyNotes::Callback);
    EndUseOfScreensavers();
    // One that ended itself is gone a moment later.
    EXPECT_TRUE(ThreadEnds("platform-events"));
    EXPECT_EQ(device_power_get_state(), 0);
}

MockedLogind::MockedLogind() : daemon_({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"}) {
    EXPECT_TRUE(WaitUntil([] { return CallLogind("org.freedesktop.login1.Manager.ListInhibitors")[0] == '('; }));
}

void MockedLogind::AnnounceSleep(bool isAsleep) {
    CallLogind(
        std::string("org.freedesktop.DBus.Mock.EmitSignal org.freedesktop.login1.Manager PrepareForSleep b '[<") +
        (isAsleep ? "true" : "false") + ">]'");
}

size_t MockedLogind::Inhibitors() {
    const std::string list = CallLogind("org.freedesktop.login1.Manager.ListInhibitors");
    size_t count = 0;
    for (size_t at = list.find("'quorvex'"); at != std::string::npos; at = list.find("'quorvex'", at + 1)) {
        ++count;
    }
    return count;
}
