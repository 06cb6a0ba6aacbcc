#pragma once

#include <cstdint>

#include "display/wayland_display.h"
#include "screensaver/saver.h"

/// The idle time of a Wayland compositor that takes virtual keyboards (sway and others of its kind), which idle daemons
/// follow. It does not tell what is shown, so it is never "on".
class WaylandSaver : public Saver {
public:
    WaylandSaver(GMainContext* context, Observer observer);
    std::string Name() const override { return "the Wayland compositor"; }
    bool IsOn() const override { return false; }
    bool CanBeReset() const override { return display_.IsUp() && seatName_ != 0 && managerName_ != 0; }
    void Reset() override;
    /// There is a compositor and it offers no way.
    bool IsHelpless() const { return display_.IsUp() && !CanBeReset(); }

private:
    void OnGlobal(uint32_t name, const std::string& interface);
    void OnGlobalGone(uint32_t name);
    void OnUp();
    void OnDown();
    bool MakeKeyboard();

    const Observer observer_;
    uint32_t seatName_ = 0;
    uint32_t managerName_ = 0;
    uint32_t keyboard_ = 0;  ///< made for the first reset; 0 before
    WaylandDisplay display_;
};
