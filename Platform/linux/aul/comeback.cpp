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
    watch_ = std::make_unique<SocketWatch>(context_, socketPath, delaySeconds_, tryAgain_);
    delaySeconds_ = std::min(2 * delaySeconds_, kLastDelaySeconds);
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
