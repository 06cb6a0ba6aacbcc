#include "wall_clock.h"

#include <time.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

using std::chrono::system_clock;

namespace {

void Set(system_clock::time_point time) {
    const timespec value{system_clock::to_time_t(time), 0};
    if (clock_settime(CLOCK_REALTIME, &value) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot set the clock");
    }
}

}  // namespace

void WallClock::StepBy(std::chrono::hours hours) {
    const auto now = system_clock::now();
    latest_ = std::max(latest_, now);
    Set(now + hours);
}

void WallClock::CatchUp() {
    if (system_clock::now() < latest_) {
        Set(latest_);
    }
}
