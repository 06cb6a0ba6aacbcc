#include "aul/comeback.h"

#include <algorithm>
#include <utility>

#include "platform/dlog.h"

namespace aul {
namespace {

constexpr unsigned kFirstDelaySeconds = 1;
constexpr unsigned kLastDelaySeconds = 64;

}  // namespace

Comeback::Comeback(GMainContext* context, std::string what, std::function<void()> tryAgain)
    : context_(context), what_(std::move(what)), tryAgain_(std::move(tryAgain)), delaySeconds_(kFirstDelaySeconds) {}

void Comeback::Gone(const std::string& socketPath, const std::string& why) {
    if (told_ != Told::kGone) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: not there (%s); it is waited for", what_.c_str(),
                     why.c_str());
        told_ = Told::kGone;
    }
    const gint64 end = g_get_monotonic_time() + gint64{delaySeconds_} * G_USEC_PER_SEC;
    watch_ = std::make_unique<SocketWatch>(context_, socketPath, delaySeconds_, [this, end] { Try(end); });
}

// Before the end of the delay something happened: the server may be about to listen, so the next delay is short again.
void Comeback::Try(gint64 end) {
    const bool isLate = g_get_monotonic_time() >= end;
    delaySeconds_ = isLate ? std::min(2 * delaySeconds_, kLastDelaySeconds) : kFirstDelaySeconds;
    tryAgain_();
}

// A server that is there from the beginning is not worth a message.
void Comeback::There() {
    if (told_ == Told::kGone) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: there", what_.c_str());
    }
    told_ = Told::kThere;
    delaySeconds_ = kFirstDelaySeconds;
    watch_.reset();
}

}  // namespace aul
