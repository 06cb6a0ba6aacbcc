#pragma once

#include <functional>
#include <map>

#include "device_power/display_power.h"
#include "display/wayland_display.h"

/// The outputs of a Wayland compositor that lets them be powered down by others (sway and others of its kind). Off is
/// when there are outputs and all of them are.
class WaylandPower : public DisplayPower {
public:
    WaylandPower(GMainContext* context, std::function<void()> onChange);
    bool IsOff() const override;
    void SwitchOn() override;

private:
    struct Output {
        uint32_t control = 0;  ///< 0 where it cannot be controlled
        bool isOff = false;
    };

    void OnGlobal(uint32_t name, const std::string& interface);
    void OnGlobalGone(uint32_t name);
    void OnUp();
    void OnDown();
    void Control(uint32_t name, Output& output);
    void OnControlEvent(uint32_t name, uint16_t opcode, WaylandArguments& arguments);

    const std::function<void()> onChange_;
    uint32_t manager_ = 0;
    std::map<uint32_t, Output> outputs_;  ///< by the compositor's number
    WaylandDisplay display_;
};
