/// What a pad is called: its unique id and its name, made safe to print and to compare.
#pragma once

#include <libevdev/libevdev.h>

#include <functional>
#include <string>

namespace gamepad {

inline constexpr std::size_t kLongestUid = 255;  // what the service keeps of it

/// Device texts come from the device: invalid UTF-8 and what cannot be printed become replacement characters.
std::string Printable(const std::string& text);

/// bus:vendor:product:place, where place is what tells two pads of a kind apart and stays the same when the pad comes
/// back: its serial number or address, else its port, else the folder that its driver made it in.
std::string BaseUid(const libevdev* device, const std::string& id_path, const std::string& syspath);

/// The base itself or with "-2", "-3", ...: the first that is not taken. At most kLongestUid bytes.
std::string UniqueUid(const std::string& base, const std::function<bool(const std::string&)>& is_taken);

}  // namespace gamepad
