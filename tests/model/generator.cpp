#include "generator.h"

#include <climits>

#include "household.h"

namespace {

using rc::Gen;
using rc::gen::element;
using Kind = Step::Kind;

const Gen<int> kNothing = rc::gen::just(0);

Gen<Step> Steps(Kind kind, const Gen<int>& who, const Gen<int>& what = kNothing, const Gen<int>& value = kNothing) {
    return rc::gen::build<Step>(rc::gen::set(&Step::kind, rc::gen::just(kind)), rc::gen::set(&Step::who, who),
                                rc::gen::set(&Step::what, what), rc::gen::set(&Step::value, value));
}

Gen<int> Pad() {
    return rc::gen::weightedOneOf<int>({{4, element(0, 1)}, {1, rc::gen::inRange(0, kPads)}});
}

Gen<int> Button() {
    return element(0, 1, 0, 1, 2, 10, 11, 12, 14, 14, 398, 3, 5, 6, 7, -1);
}

Gen<int> Position() {
    return rc::gen::weightedOneOf<int>(
        {{6, element(0, 32767, -32768)},
         {3, element(16383, 16384, -16384, -16385)},
         {3, element(128, 255, 191, 192, 64, 63)},
         {1, element(1023, 512, 767, 768, 256)},
         {1, element(1, -1, -2)},
         {1, element(INT_MAX, INT_MIN, INT_MAX - 1, 1073741823, 1073741824, -1073741824, -1073741825)}});
}

Gen<int> Milliseconds() {
    return rc::gen::weightedOneOf<int>({{60, rc::gen::just(50)},
                                        {12, element(10, 20, 30, 100, 150)},
                                        {8, element(400, 900, 950, 1000, 1050, 1100)},
                                        {1, element(29950, 30000)}});
}

Gen<int> Game() {
    return rc::gen::inRange(kFirstGame, kFirstGame + kGames);
}

Gen<int> Process() {
    return rc::gen::weightedOneOf<int>(
        {{6, Game()}, {3, element(kMenuPid, kKeyboardPid)}, {1, element(kAlmostKeyboardPid, 0, -7)}});
}

/// Of pads.
Gen<Step> AnyInput() {
    return rc::gen::weightedOneOf<Step>({{30, Steps(Kind::Button, Pad(), Button(), element(1, 1, 1, 0, 0, 0, 2, -1))},
                                         {20, Steps(Kind::Axis, Pad(), element(0, 1, 3, 4), Position())},
                                         {8, Steps(Kind::Axis, Pad(), element(16, 17), element(0, 0, -1, 1, 2))},
                                         {2, Steps(Kind::Axis, Pad(), element(2, 5, 10, 11, 14), element(0, 1, 32767))},
                                         {15, Steps(Kind::LetGo, Pad())},
                                         {5, Steps(Kind::Tap, Pad(), Button())},
                                         {4, Steps(Kind::Pair, Pad(), element(0, 1))},
                                         {2, Steps(Kind::Raw, Pad(), element(0, 2, 4, -1), element(0, 10, 14, 16))},
                                         {3, Steps(Kind::Shake, Pad(), element(0, 4, 16), rc::gen::inRange(1, 30))}});
}

Gen<Step> AnyPlugging() {
    const Gen<int> shape = rc::gen::weightedOneOf<int>({{2, rc::gen::just(0)}, {1, rc::gen::inRange(0, 9)}});
    return rc::gen::weightedOneOf<Step>({{6, Steps(Kind::Plug, Pad(), shape)},
                                         {5, Steps(Kind::Unplug, Pad())},
                                         {1, Steps(Kind::PadNotice, Pad(), element(11, 12, 13, 0))}});
}

Gen<Step> AnyApplication() {
    return rc::gen::weightedOneOf<Step>({{4, Steps(Kind::GameNotice, Process(), element(0, 0, 0, 1, 1, 2))},
                                         {3, Steps(Kind::AppAnswers, Game(), element(2, 2, 1, 5))},
                                         {1, Steps(Kind::AppGone, Process())},
                                         {8, Steps(Kind::AppSignal, Process(), element(5, 5, 5, 3, 7, 0, 2))}});
}

Gen<Step> AnySetting() {
    const Gen<int> when = element(0, 1, 2);
    return rc::gen::weightedOneOf<Step>(
        {{6, Steps(Kind::Hub, kNothing, element(0, 1, 1000, 1000, 2, -1))},
         {2, Steps(Kind::Terms, kNothing, element(0, 1, 1, -1, Step::kNone))},
         {4, Steps(Kind::Store, when, element(0, 0, 1, 2, 3, 7, -1, Step::kRefuses), element(1, 1, 0))},
         {3, Steps(Kind::StoreAnswer, kNothing)},
         {2, Steps(Kind::Screensaver, kNothing, element(0, 1))},
         {2, Steps(Kind::EasyWakeup, kNothing, element(0, 1, 2))},
         {2, Steps(Kind::Power, kNothing, element(0, 2, 2, 1))},
         {2, Steps(Kind::Standby, kNothing)}});
}

Gen<Step> AnyStep() {
    return rc::gen::weightedOneOf<Step>({{24, Steps(Kind::Time, Milliseconds())},
                                         {50, AnyInput()},
                                         {8, AnyPlugging()},
                                         {10, AnyApplication()},
                                         {10, AnySetting()}});
}

}  // namespace

Gen<Scenario> AnyScenario() {
    const auto up_to = [](size_t end) { return rc::gen::inRange(0, static_cast<int>(end)); };
    return rc::gen::build<Scenario>(rc::gen::set(&Scenario::pads, up_to(4)),
                                    rc::gen::set(&Scenario::games, up_to(kGameTexts.size())),
                                    rc::gen::set(&Scenario::config, up_to(kConfigs.size())),
                                    rc::gen::set(&Scenario::monitor, rc::gen::arbitrary<bool>()),
                                    rc::gen::set(&Scenario::steps, rc::gen::container<std::vector<Step>>(AnyStep())));
}
