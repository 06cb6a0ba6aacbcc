#include "aul/comeback.h"

#include <algorithm>
#include <utility>

namespace aul {
namespace {

constexpr unsigned kFirstDelaySeconds = 1;
constexpr unsigned kLastDelaySeconds = 64;

}  // namespace

Comeback::Comeback(GMainContext* context, std::string what, std::function<void()> tryAgain)
    : context_(context),
      presence_(std::move(what)),
      tryAgain_(std::move(tryAgain)),
      delaySeconds_(kFirstDelaySeconds) {}

void Comeback::Gone(const std::string& socketPath, const std::string& why) {
    presence_.Missing(why);
    const gint64 end = g_get_monotonic_time() + gint64{delaySeconds_} * G_USEC_PER_SEC;
    watch_ = std::make_unique<SocketWatch>(context_, socketPath, delaySeconds_, [this, end] { Try(end); });
}

// Before the end of the delay something happened: the server may be about to listen, so the next delay is short again.
void Comeback::Try(gint64 end) {
    const bool isLate = g_get_monotonic_time() >= end;
    delaySeconds_ = isLate ? std::min(2 * delaySeconds_, kLastDelaySeconds) : kFirstDelaySeconds;
    tryAgain_();
}

void Comeback::There() {
    presence_.There();
    delaySeconds_ = kFirstDelaySeconds;
    watch_.reset();
}

}  // namespace aul
