#pragma once

#include <functional>

#include "bus/bus.h"
#include "device_power/display_power.h"

/// The displays of a GNOME session: PowerSaveMode of org.gnome.Mutter.DisplayConfig, of which every value above 0 is
/// powered down.
class MutterPower : public DisplayPower {
public:
    /// The bus must outlive this object, and must not deliver anything after it.
    MutterPower(Bus& bus, std::function<void()> onChange);
    bool IsOff() const override { return isOff_; }
    void SwitchOn() override;

private:
    void Ask();
    void SetOff(bool isOff);

    Bus& bus_;
    const std::function<void()> onChange_;
    bool isOff_ = false;
};
