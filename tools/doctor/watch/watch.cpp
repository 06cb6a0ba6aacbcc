#include "watch/watch.h"

#include <linux/input.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <vector>

#include "gamepad/connected_pads.h"
#include "platform/gamepad.h"
#include "watch/screen.h"
#include "watch/service_thread.h"
#include "watch/tap.h"

namespace doctor {
namespace {

constexpr int kPassMs = 50;  // the service's own
constexpr std::size_t kLines = 200;
constexpr char kNoPad[] = "no pad is connected: plug one in";
constexpr int kStepsAside = 3;
constexpr int kStepsUp = 1;

std::string PadName(const std::string& uid) {
    const gamepad::PadPointer pad = gamepad::ConnectedPads().ByUid(uid);
    return pad == nullptr ? "" : pad->name;
}

int Steps(int device, const PadState& pad, int axis, int steps) {
    int maximum = 0;
    int minimum = 0;
    const bool has_axis = gamepad_get_abs_value_range(device, axis, &maximum, &minimum) == 1;
    return has_axis && pad.HasPosition(axis) ? StepsFromMiddle(pad.Position(axis), minimum, maximum, steps) : 0;
}

Stick StickOf(int device, const PadState& pad, int x, int y) {
    return {Steps(device, pad, x, kStepsAside), Steps(device, pad, y, kStepsUp)};
}

/// What has happened, in the form in which it is shown.
class History {
public:
    History(const Tap& tap, const ServiceKeys& keys) : tap_(tap), keys_(keys) {}

    void Follow(Tap& tap) {
        for (const std::string& uid : tap.TakeOpened()) {
            title_ = PadName(uid);
        }
        for (const Handled& handled : tap.Take()) {
            Add(handled);
        }
    }

    View Now() const {
        const PadState none;
        const auto found = pads_.find(device_);
        const PadState& pad = found == pads_.end() ? none : found->second;
        return {tap_.IsMenuMode(), gamepad::ConnectedPads().Count() == 0 ? kNoPad : title_,
                PartsOf(pad, StickOf(device_, pad, ABS_X, ABS_Y), StickOf(device_, pad, ABS_RX, ABS_RY)), lines_};
    }

private:
    void Add(const Handled& handled) {
        const Line line{EventText(handled), OutcomeText(handled, keys_), !handled.keys.empty()};
        if (handled.device != -1) {
            device_ = handled.device;
            pads_[device_].Apply(handled.input);
            title_ = PadName(tap_.UidOf(device_));
        }
        if (IsSameMovement(handled, line)) {
            lines_.front() = line;
        } else {
            lines_.push_front(line);
        }
        last_ = handled.input;
        lines_.resize(std::min(lines_.size(), kLines));
    }

    /// A stick on its way is one line, in which its position changes.
    bool IsSameMovement(const Handled& handled, const Line& line) const {
        return !lines_.empty() && handled.input.type == EV_ABS && last_.type == EV_ABS &&
               last_.code == handled.input.code && !line.is_key && lines_.front().outcome == line.outcome;
    }

    const Tap& tap_;
    const ServiceKeys& keys_;
    std::map<int, PadState> pads_;  // by device
    int device_ = -1;               // whose event came last
    Input last_{0, 0, 0};
    std::string title_;  // whose picture it is
    std::deque<Line> lines_;
};

/// Waits as the screen does, where there is none.
void WaitForPass() {
    poll(nullptr, 0, kPassMs);
}

/// False when nobody reads any more.
bool Print(Tap& tap, const ServiceKeys& keys) {
    for (const std::string& uid : tap.TakeOpened()) {
        std::printf("watching %s\n", PadName(uid).c_str());
    }
    for (const Handled& handled : tap.Take()) {
        std::printf("%s -> %s\n", EventText(handled).c_str(), OutcomeText(handled, keys).c_str());
    }
    return std::fflush(stdout) == 0;
}

void WatchInLines(Tap& tap, const ServiceKeys& keys, const ServiceThread& service) {
    while (!service.HasEnded() && Print(tap, keys)) {
        WaitForPass();
    }
}

void WatchOnScreen(Tap& tap, const ServiceKeys& keys, const ServiceThread& service, Screen& screen) {
    History history(tap, keys);
    do {
        history.Follow(tap);
        screen.Show(history.Now());
    } while (!screen.IsLeft() && !service.HasEnded());
}

}  // namespace

std::string Watch() {
    const ServiceKeys keys = AskService();
    Tap tap;
    const Catching catching(tap);
    const bool is_terminal = isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
    const auto screen = is_terminal ? std::make_unique<Screen>() : nullptr;
    if (screen != nullptr && !screen->Works()) {
        return "this terminal is not known (TERM); for plain lines: quorvex-doctor --watch | cat";
    }
    const ServiceThread service;
    if (screen != nullptr) {
        WatchOnScreen(tap, keys, service, *screen);
    } else {
        WatchInLines(tap, keys, service);
    }
    return service.HasEnded() ? tap.LastError() : "";
}

}  // namespace doctor
