#include "scenario.h"

#include <array>
#include <climits>
#include <map>
#include <ostream>

#include "household.h"

namespace {

struct NamedShape {
    const char* name;
    PadShape shape;
};

PadShape AllAxes(int maximum, int minimum) {
    const AxisRange range{maximum, minimum};
    return {{{0, range}, {1, range}, {3, range}, {4, range}}, true};
}

const std::vector<NamedShape>& Shapes() {
    static const std::vector<NamedShape> shapes = {
        {"", {}},
        {", whose sticks go from 0 to 255", AllAxes(255, 0)},
        {", whose sticks go from 0 to 1023, of unknown layout", {AllAxes(1023, 0).ranges, false}},
        {", whose sticks have no readable range", {{}, true}},
        {", whose left stick has a range only sideways", {{{0, {32767, -32768}}}, false}},
        {", whose sticks go from 255 down to 0", AllAxes(0, 255)},
        {", whose sticks cannot move", AllAxes(0, 0)},
        {", whose sticks use all numbers", AllAxes(INT_MAX, INT_MIN)},
        {", whose sticks are near the largest number", AllAxes(INT_MAX, INT_MAX - 3)},
    };
    return shapes;
}

std::string NameOr(const std::map<int, std::string>& names, int number, const std::string& otherwise) {
    const auto found = names.find(number);
    return found == names.end() ? otherwise + std::to_string(number) : found->second;
}

std::string Button(int button) {
    static const std::map<int, std::string> names = {{0, "A"},       {1, "B"},          {2, "X"},
                                                     {10, "Select"}, {11, "Start"},     {12, "the left stick"},
                                                     {14, "Home"},   {398, "Home page"}};
    return NameOr(names, button, "button ");
}

std::string Axis(int axis) {
    static const std::map<int, std::string> names = {
        {0, "the left stick sideways"},     {1, "the left stick up and down"}, {3, "the right stick sideways"},
        {4, "the right stick up and down"}, {16, "the pad's cross sideways"},  {17, "the pad's cross up and down"}};
    return NameOr(names, axis, "axis ");
}

std::string Process(int pid) {
    static const std::map<int, std::string> names = {{kKeyboardPid, "the on-screen keyboard"},
                                                     {kAlmostKeyboardPid, "almost the on-screen keyboard"},
                                                     {kMenuPid, "the menu"}};
    const bool game = pid >= kFirstGame && pid < kFirstGame + kGames;
    return NameOr(names, pid, game ? "game " : "process ");
}

std::string ButtonText(const Step& step) {
    const std::string who = PadName(step.who);
    return step.value == 1   ? who + " presses " + Button(step.what)
           : step.value == 0 ? who + " releases " + Button(step.what)
                             : who + " says " + std::to_string(step.value) + " of " + Button(step.what);
}

std::string SignalText(const Step& step) {
    static const std::map<int, std::string> names = {
        {3, " comes to the front"}, {5, " gets the focus"}, {7, " is hidden"}};
    return Process(step.who) + NameOr(names, step.what, " has the status ");
}

std::string GameText(const Step& step) {
    static const std::map<int, std::string> names = {{0, " opens"}, {1, " closes"}};
    return Process(step.who) + NameOr(names, step.what, " sends the notice ");
}

std::string NoticeText(const Step& step) {
    static const std::map<int, std::string> names = {{11, "connected"}, {12, "disconnected"}};
    return "a notice that " + PadName(step.who) + " is " + NameOr(names, step.what, "of the type ");
}

std::string StoreText(const Step& step) {
    static const std::array<const char*, 3> kWhen = {"at once", "before the question returns", "only when told"};
    if (step.what == Step::kRefuses) {
        return "the store takes no questions";
    }
    return "the store will answer " + std::to_string(step.what) + (step.value == 1 ? "" : " without an application") +
           ", " + kWhen.at(static_cast<size_t>(step.who));
}

std::string SettingText(const Step& step) {
    const std::string value = std::to_string(step.what);
    switch (step.kind) {
        case Step::Kind::Hub:
            return "the game hub's status becomes " + value;
        case Step::Kind::Terms:
            return step.what == Step::kNone ? "the terms are unknown" : "the terms become " + value;
        case Step::Kind::Screensaver:
            return step.what == 1 ? "the screensaver comes" : "the screensaver goes";
        case Step::Kind::EasyWakeup:
            return "easy wake-up becomes " + value;
        default:
            return "the device's power state becomes " + value;
    }
}

}  // namespace

std::string PadName(int pad) {
    return "pad " + std::to_string(pad);
}

const PadShape& ShapeOf(int shape) {
    return Shapes().at(static_cast<size_t>(shape)).shape;
}

std::string Text(const Step& step) {
    const std::string pad = PadName(step.who);
    switch (step.kind) {
        case Step::Kind::Time:
            return std::to_string(step.who) + " ms pass";
        case Step::Kind::Button:
            return ButtonText(step);
        case Step::Kind::LetGo:
            return pad + " lets go of what holds a key";
        case Step::Kind::Tap:
            return pad + " taps " + Button(step.what);
        case Step::Kind::Pair:
            return pad + (step.what == 0 ? " presses Select and Start" : " presses Start and Select");
        case Step::Kind::Axis:
            return pad + " moves " + Axis(step.what) + " to " + std::to_string(step.value);
        case Step::Kind::Raw:
            return pad + " sends an event of type " + std::to_string(step.what) + ", code " +
                   std::to_string(step.value);
        case Step::Kind::Shake:
            return pad + " shakes " + Axis(step.what) + " " + std::to_string(step.value) + " times";
        case Step::Kind::Plug:
            return pad + " connects" + Shapes().at(static_cast<size_t>(step.what)).name;
        case Step::Kind::Unplug:
            return pad + " is removed";
        case Step::Kind::PadNotice:
            return NoticeText(step);
        case Step::Kind::GameNotice:
            return GameText(step);
        case Step::Kind::AppAnswers:
            return Process(step.who) + " will answer " + std::to_string(step.what);
        case Step::Kind::AppGone:
            return Process(step.who) + " is gone";
        case Step::Kind::AppSignal:
            return SignalText(step);
        case Step::Kind::Store:
            return StoreText(step);
        case Step::Kind::StoreAnswer:
            return "the store answers";
        case Step::Kind::Standby:
            return "the device goes to standby";
        default:
            return SettingText(step);
    }
}

void showValue(const Scenario& scenario, std::ostream& out) {
    out << "the service starts with " << scenario.pads << " pads, games \""
        << kGameTexts.at(static_cast<size_t>(scenario.games)).text << "\", "
        << kConfigs.at(static_cast<size_t>(scenario.config)).name << (scenario.monitor ? ", on a smart monitor" : "")
        << '\n';
    for (const Step& step : scenario.steps) {
        out << Text(step) << '\n';
    }
}
