/// Whether the session's displays are powered down, as one of those who switch them knows it.
#pragma once

/// Threads  the events thread's. Each is given a function at its making that is called when the answer may have
/// changed.
class DisplayPower {
public:
    DisplayPower() = default;
    virtual ~DisplayPower() = default;
    DisplayPower(const DisplayPower&) = delete;
    DisplayPower& operator=(const DisplayPower&) = delete;

    virtual bool IsOff() const = 0;
    virtual void SwitchOn() = 0;
};
