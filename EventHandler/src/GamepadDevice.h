#ifndef EVENTHANDLER_GAMEPADDEVICE_H
#define EVENTHANDLER_GAMEPADDEVICE_H

#include <cstdint>

/// One open gamepad. A plain record, copied whole, so that nobody keeps a pointer into the device table.
/// A stick beyond a threshold counts as pushed; thresholds are raw axis positions, -1 while the range is unknown.
struct _DeviceInfo {
    int32_t iDeviceId = -1;  ///< the gamepad library's handle, -1 until opened
    char szUid[256] = {};    ///< cut to 255 characters
    int32_t iXUpper = -1;
    int32_t iXLower = -1;
    int32_t iYUpper = -1;
    int32_t iYLower = -1;
    int32_t iRxUpper = -1;
    int32_t iRxLower = -1;
    int32_t iRyUpper = -1;
    int32_t iRyLower = -1;
};

/// The event numbers that the service knows: types and axes are Linux input numbers, buttons the library's own.
namespace gamepad {
constexpr int32_t TYPE_BUTTON = 1;
constexpr int32_t TYPE_AXIS = 3;
constexpr int32_t BUTTON_HOME = 14;
constexpr int32_t AXIS_X = 0;
constexpr int32_t AXIS_Y = 1;
constexpr int32_t AXIS_RX = 3;
constexpr int32_t AXIS_RY = 4;
constexpr int32_t AXIS_HAT0X = 16;
constexpr int32_t AXIS_HAT0Y = 17;
}  // namespace gamepad

#endif
