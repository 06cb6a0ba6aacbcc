#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "FakeGamepad.h"

/// One thing that happens to the service. What the numbers mean depends on the kind; see Text.
struct Step {
    enum class Kind {
        Time,         ///< who: milliseconds that pass
        Button,       ///< who: pad, what: button, value
        LetGo,        ///< who: pad, whose stick or button is let go that holds a key, even if it is another pad's
        Tap,          ///< who: pad, what: button, down and up between two looks
        Pair,         ///< who: pad, what: 0 Select and then Start, 1 the other way round
        Axis,         ///< who: pad, what: axis, value
        Raw,          ///< who: pad, what: type, value: code; the event's value is 1
        Shake,        ///< who: pad, what: axis, value: how often the stick goes from end to end
        Plug,         ///< who: pad, what: its shape
        Unplug,       ///< who: pad
        PadNotice,    ///< who: pad, what: type of the notice
        GameNotice,   ///< who: process, what: type of the notice
        AppAnswers,   ///< who: process, what: the status with which it answers when asked
        AppGone,      ///< who: process
        AppSignal,    ///< who: process, what: status
        Hub,          ///< what: status of the game hub
        Terms,        ///< what: 0 refused, 1 accepted, other values too; kNone: the setting is gone
        Store,        ///< who: when it answers, what: status, value: 1 with an application, 0 without; kRefuses
        StoreAnswer,  ///< it answers what it held back
        Screensaver,  ///< what: 1 on, 0 off
        EasyWakeup,   ///< what: the setting's value
        Power,        ///< what: state of the device
        Standby,      ///< the power service's notice
    };
    static constexpr int kNone = -99;
    static constexpr int kRefuses = 99;

    Kind kind;
    int who = 0;
    int what = 0;
    int value = 0;
};

/// A life of the service: how the machine is when it starts, and what happens then.
struct Scenario {
    int pads = 0;          ///< plugged at the start
    int games = 0;         ///< which text the games that run at the start make: index into kGameTexts
    int config = 0;        ///< which buttons are bound: index into kConfigs
    bool monitor = false;  ///< the machine is a smart monitor
    std::vector<Step> steps;
};

constexpr int kPads = 6;
std::string PadName(int pad);
const PadShape& ShapeOf(int shape);

/// In words: "pad 0 presses A".
std::string Text(const Step& step);
void showValue(const Scenario& scenario, std::ostream& out);
