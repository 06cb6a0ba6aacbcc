#include "device_power/sleep_notice.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace {

constexpr char kName[] = "org.freedesktop.login1";
constexpr char kPath[] = "/org/freedesktop/login1";
constexpr char kManager[] = "org.freedesktop.login1.Manager";

}  // namespace

SleepNotice::SleepNotice(GMainContext* context, std::function<void(bool)> onSleep)
    : onSleep_(std::move(onSleep)), bus_(context, Bus::Kind::kSystem) {
    bus_.Subscribe({kName, kPath, kManager, "PrepareForSleep"}, [this](sd_bus_message* signal) { OnPrepare(signal); });
    bus_.WatchName(kName, [this](bool isOwned) { OnOwner(isOwned); });
}

SleepNotice::~SleepNotice() {
    Allow();
}

void SleepNotice::OnOwner(bool isOwned) {
    if (isOwned) {
        Delay();
    } else {
        SetAsleep(false);
        Allow();
    }
}

void SleepNotice::OnPrepare(sd_bus_message* signal) {
    int isAsleep = 0;
    if (SdBus().sd_bus_message_read(signal, "b", &isAsleep) < 0) {
        return;
    }
    SetAsleep(isAsleep != 0);
    if (isAsleep_) {
        Allow();
    } else {
        Delay();
    }
}

void SleepNotice::SetAsleep(bool isAsleep) {
    if (std::exchange(isAsleep_, isAsleep) != isAsleep) {
        onSleep_(isAsleep);
    }
}

void SleepNotice::Delay() {
    if (inhibitor_ >= 0) {
        return;
    }
    bus_.Call(
        {kName, kPath, kManager, "Inhibit"},
        [](sd_bus_message* call) {
            return SdBus().sd_bus_message_append(call, "ssss", "sleep", "quorvex", "Pads may wake the machine",
                                                 "delay");
        },
        [this](sd_bus_message* reply) { OnInhibitor(reply); });
}

void SleepNotice::OnInhibitor(sd_bus_message* reply) {
    int lent = -1;
    if (isAsleep_ || inhibitor_ >= 0) {
        return;
    }
    if (reply == nullptr || SdBus().sd_bus_message_read(reply, "h", &lent) < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD",
                     "standby: logind lets us not delay sleep; its notice may come when the machine sleeps already");
        return;
    }
    inhibitor_ = fcntl(lent, F_DUPFD_CLOEXEC, 3);
    if (inhibitor_ < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "standby: sleep is not delayed: %s", std::strerror(errno));
    }
}

void SleepNotice::Allow() {
    if (inhibitor_ >= 0) {
        close(std::exchange(inhibitor_, -1));
    }
}
