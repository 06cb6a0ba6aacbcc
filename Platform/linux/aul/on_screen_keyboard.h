#ifndef PLATFORM_LINUX_AUL_ON_SCREEN_KEYBOARD_H
#define PLATFORM_LINUX_AUL_ON_SCREEN_KEYBOARD_H

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <string>

#include "bus/bus.h"

namespace aul {

/// An on-screen keyboard that publishes on the session bus whether it is shown. Its process is one of FocusState's
/// keyboards while it runs.
///
/// Threads  the bus's, where `tell` arrives; destroyed after the bus.
class OnScreenKeyboard {
public:
    using TellFunction = std::function<void(pid_t pid, bool isShown)>;

    /// The interface has the property "Visible".
    OnScreenKeyboard(Bus& bus, const Bus::Member& visible, TellFunction tell);
    ~OnScreenKeyboard();
    OnScreenKeyboard(const OnScreenKeyboard&) = delete;
    OnScreenKeyboard& operator=(const OnScreenKeyboard&) = delete;

private:
    void OnOwner(bool isOwned);
    void Ask();
    void OnChange(sd_bus_message* signal);
    void SetPid(pid_t pid);
    void Gone();
    void Update();

    Bus& bus_;
    const Bus::Member visible_;
    const TellFunction tell_;
    unsigned owner_ = 0;  ///< counts the owners: what is answered for an earlier one does not count
    pid_t pid_ = 0;
    bool isVisible_ = false;
    bool isTold_ = false;  ///< as shown
};

}  // namespace aul

#endif
