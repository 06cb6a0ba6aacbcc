#include "events/comeback.h"

#include <algorithm>
#include <utility>

namespace {

// A server whose socket has just come listens some milliseconds later; one that stays away may do so for days.
constexpr unsigned kFirstDelayMs = 100;
constexpr unsigned kLastDelayMs = 60000;

}  // namespace

Comeback::Comeback(GMainContext* context, std::string server, std::function<void()> tryAgain)
    : context_(context), presence_(std::move(server)), tryAgain_(std::move(tryAgain)), delayMs_(kFirstDelayMs) {}

void Comeback::Gone(const std::string& socketPath, const std::string& why) {
    presence_.Missing(why);
    const gint64 end = g_get_monotonic_time() + gint64{delayMs_} * 1000;
    watch_ = std::make_unique<SocketWatch>(context_, socketPath, delayMs_, [this, end] { Try(end); });
}

// Before the end of the delay something happened: the server may be about to listen, so the next delay is short again.
void Comeback::Try(gint64 end) {
    const bool isLate = g_get_monotonic_time() >= end;
    delayMs_ = isLate ? std::min(2 * delayMs_, kLastDelayMs) : kFirstDelayMs;
    tryAgain_();
}

void Comeback::There() {
    presence_.There();
    delayMs_ = kFirstDelayMs;
    watch_.reset();
}
