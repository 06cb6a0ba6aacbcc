/// An input device that announces what it likes: a pipe that answers the requests that libevdev makes of a kernel.
#pragma once

#include <linux/input.h>

#include <array>
#include <bitset>
#include <optional>
#include <string>

struct HostileDevice {
    input_id id{};
    std::string name;
    std::string phys;
    std::string uniq;
    std::bitset<KEY_CNT> keys;
    std::bitset<REL_CNT> relative;
    std::bitset<INPUT_PROP_CNT> properties;
    std::array<std::optional<input_absinfo>, ABS_CNT> axes;
    std::bitset<KEY_CNT> held;  ///< what it says when it is asked, whatever its events said
};

/// One at a time: the device behind every pipe of this process.
class HostileEvdev {
public:
    explicit HostileEvdev(const HostileDevice& device);
    ~HostileEvdev();
    HostileEvdev(const HostileEvdev&) = delete;
    HostileEvdev& operator=(const HostileEvdev&) = delete;

    std::string Path() const;
    void Send(const std::string& bytes) const;  ///< what does not fit is lost

private:
    int ends_[2];
};
