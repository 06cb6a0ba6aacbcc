/// Pads that come, go and send events, for the Linux gamepad code as it is: umockdev stands in for /dev, /sys and
/// udev. The program must run under umockdev-wrapper.
#pragma once

#include <umockdev.h>

#include <map>
#include <string>

#include "evdev_model.h"

/// Whether the code under test finds a udevd; without one it watches /dev/input.
void SetUdevdRuns(bool runs);

/// While set, reading any event node fails as it does once the device is unplugged.
void SetReadsFailAsUnplugged(bool fail);

/// Threads  one at a time.
class PadTestbed {
public:
    PadTestbed();
    ~PadTestbed();
    PadTestbed(const PadTestbed&) = delete;
    PadTestbed& operator=(const PadTestbed&) = delete;

    /// /dev/input/event<node> appears; extra are udev properties ("ID_PATH=x"), one on each line.
    void Plug(int node, const PadModel& model, const std::string& extra = "E: ID_INPUT_JOYSTICK=1\n");
    void Unplug(int node);

    /// The event and its SYN_REPORT.
    void Send(int node, int type, int code, int value);
    /// The raw event alone.
    void SendRaw(int node, int type, int code, int value);

private:
    std::string InTestbed(const std::string& path) const;
    void LoadAnswers(int node, const PadModel& model);
    void PutBack(int node);
    std::string SyspathOf(int node) const;

    UMockdevTestbed* testbed_;
    std::map<int, int> connections_;        // by node: the number of the input device, new at each connection
    std::map<int, std::string> terminals_;  // what the nodes that once were there pointed to
    int next_connection_ = 100;
};
