#pragma once

#include <string>

#include "bus/bus.h"
#include "screensaver/saver.h"

/// A screensaver on the session bus, under one of the names that desktops use: org.freedesktop.ScreenSaver and its
/// likes, which share the methods SimulateUserActivity and GetActive and the signal ActiveChanged.
class BusSaver : public Saver {
public:
    /// The bus must outlive this object, and must not deliver anything after it.
    BusSaver(Bus& bus, const std::string& name, Observer observer);
    std::string Name() const override { return name_; }
    bool IsOn() const override { return isOn_; }
    bool CanBeReset() const override { return bus_.IsOwned(name_) && !lacksMethod_; }
    void Reset() override;

private:
    void OnOwner(bool isOwned);
    void OnDescription(sd_bus_message* reply);
    void OnActive(sd_bus_message* message);
    Bus::Member Member(const char* member) const { return {name_, path_, name_, member}; }

    Bus& bus_;
    const std::string name_;  ///< of the service and of its interface
    const std::string path_;
    const Observer observer_;
    bool isOn_ = false;
    bool lacksMethod_ = false;
};
