#pragma once

#include <platform/gamepad.h>

#include <map>
#include <optional>
#include <string>

#include "FakeGamepad.h"

/// Between these positions, both included, a stick counts as let go.
struct Band {
    int upper = -1;
    int lower = -1;
};

/// An open pad as the service knows it.
struct PadModel {
    PadModel(int itsId, std::string itsUid, const PadShape& shape);
    Band BandOf(int axis) const;

    int id;
    std::string uid;
    std::map<int, Band> bands;
};

/// The key that goes down with this event while no key is held.
std::optional<int> PressedKey(const PadModel& pad, const _gamepad_event_s& event, int hubStatus);
/// Whether a key that was pressed by an event of this type and code goes up with this one.
bool ReleasesKey(const PadModel& pad, const _gamepad_event_s& event, int pressedType, int pressedCode);
