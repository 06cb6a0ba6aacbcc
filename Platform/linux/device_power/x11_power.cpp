#include "device_power/x11_power.h"

#include <utility>

X11Power::X11Power(GMainContext* context, std::function<void()> onChange)
    : context_(context),
      onChange_(std::move(onChange)),
      display_(context, {[this] { OnUp(); }, [](const xcb_generic_event_t&) {}, [this] { OnDown(); }}) {
    if (X11Display::IsOffered()) {
        display_.Start();
    }
}

void X11Power::OnUp() {
    hasLevels_ = display_.Extension(display_.Functions().dpms) != nullptr;
    UpdateTimer();
}

void X11Power::OnDown() {
    hasLevels_ = false;
    isAsking_ = false;
    UpdateTimer();
    SetOff(false);
}

void X11Power::SetWanted(bool isWanted) {
    isWanted_ = isWanted;
    UpdateTimer();
}

void X11Power::UpdateTimer() {
    const bool isNeeded = isWanted_ && hasLevels_;
    if (!isNeeded) {
        timer_.Stop();
    } else if (!timer_.IsSet()) {
        AskRepeatedly();
    }
}

// A server that hangs gets no further question: its socket would be full one day, and sending would wait.
void X11Power::AskRepeatedly() {
    timer_.After(context_, kMsBetweenQuestions, [this] { AskRepeatedly(); });
    if (!isAsking_) {
        Ask();
    }
}

void X11Power::Ask() {
    isAsking_ = true;
    const auto cookie = display_.Functions().xcb_dpms_info(display_.Connection());
    display_.Await(cookie.sequence, [this](const void* reply) {
        isAsking_ = false;
        const auto* info = static_cast<const xcb_dpms_info_reply_t*>(reply);
        SetOff(info != nullptr && info->state != 0 && info->power_level != XCB_DPMS_DPMS_MODE_ON);
    });
}

void X11Power::SetOff(bool isOff) {
    if (std::exchange(isOff_, isOff) != isOff) {
        onChange_();
    }
}

void X11Power::SwitchOn() {
    if (hasLevels_) {
        display_.Functions().xcb_dpms_force_level(display_.Connection(), XCB_DPMS_DPMS_MODE_ON);
        Ask();
    }
}
