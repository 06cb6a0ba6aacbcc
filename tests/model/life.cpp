#include "life.h"

#include <glib.h>
#include <platform/virtual_key.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <sstream>

#include "config_folders.h"
#include "household.h"
#include "main.h"

namespace {

constexpr char kHub[] = "memory/accessory/playnest_status";
constexpr char kTerms[] = "db/menu/homeview/homedatacontrol/defaultdisclaimeragree";
constexpr char kScreensaver[] = "memory/window_system/screensaver_on_off";
constexpr char kEasyWakeup[] = "db/menu/connection/easy-wakeup";
constexpr int kConfigDirectory = 77;
constexpr int kUnfocused = 1;
constexpr int kButton = 1;
constexpr int kAxis = 3;
constexpr int kSelect = 10;
constexpr int kStart = 11;

StoreAnswer AnswerOf(const Step& step) {
    if (step.what == Step::kRefuses) {
        StoreAnswer none;
        none.refusal = -1;
        return none;
    }
    using When = StoreAnswer::When;
    static constexpr When kWhen[] = {When::Soon, When::BeforeReturning, When::WhenTold};
    StoreAnswer answer;
    answer.status = step.what;
    answer.appId = step.value == 1 ? "app.id" : "";
    answer.etag = "tag " + std::to_string(step.what);
    answer.when = kWhen[step.who];
    return answer;
}

/// "VirtualKey_Send_KeyCode" with (36, 1) as "key 36 down".
std::string KeyDeed(const Call& call) {
    return KeyText(std::stoi(call.arguments[0]), static_cast<KeyMove>(std::stoi(call.arguments[1])));
}

std::string Unquoted(const std::string& text) {
    return text.substr(1, text.size() - 2);
}

}  // namespace

std::optional<std::string> Life::Live(const Scenario& scenario, Seen& seen) {
    Life life(scenario);
    return life.LiveOn(seen);
}

Life::Life(const Scenario& scenario)
    : scenario_(scenario),
      turns_([this] {
          std::ostringstream text;
          showValue(scenario_, text);
          fprintf(stderr, "%s(stuck at: %s)\n", text.str().c_str(),
                  step_ == nullptr ? "start or end" : Text(*step_).c_str());
      }),
      model_({scenario.monitor, kConfigs.at(static_cast<size_t>(scenario.config)).bindings}) {}

std::optional<std::string> Life::LiveOn(Seen& seen) {
    Prepare();
    Watch();
    Start();
    std::optional<std::string> wrong = Compare();
    for (const Step& step : scenario_.steps) {
        if (wrong) {
            break;
        }
        step_ = &step;
        Apply(step);
        wrong = Compare();
        wrong = wrong ? wrong : JudgeKeys();
        wrong = wrong ? "after \"" + Text(step) + "\": " + *wrong : wrong;
    }
    step_ = nullptr;
    End();
    Count(seen);
    const auto wrong_end = JudgeEnd();
    return wrong ? wrong : wrong_end;
}

void Life::Count(Seen& seen) const {
    const auto lock = platform_.Lock();
    ++seen.lives;
    seen.steps += static_cast<long>(scenario_.steps.size());
    seen.events += events_;
    seen.time += Turns::Now();
    for (const Deed& deed : deeds_) {
        seen.fingerprint = seen.fingerprint * 31 + std::hash<std::string>()(std::to_string(deed.at) + deed.what);
        // "publishes activity" is one kind of deed, and so is "asks the store".
        const bool of_key = deed.what.rfind("key ", 0) == 0;
        ++seen.deeds[of_key ? deed.what : deed.what.substr(0, deed.what.find(' ', deed.what.find(' ') + 1))];
    }
}

void Life::Prepare() {
    platform_.AllowErrors();
    platform_.SetSmartMonitor(scenario_.monitor);
    platform_.SetDirectory(kConfigDirectory, ConfigFolder(static_cast<size_t>(scenario_.config)));
    platform_.SetGameApps(kGameTexts.at(static_cast<size_t>(scenario_.games)).text);
    for (const auto& [pid, id] : kAppIds) {
        platform_.SetApp(pid, id, kUnfocused);
        model_.focus().SetApp(pid, id, kUnfocused);
    }
    for (int pad = 0; pad < scenario_.pads; ++pad) {
        platform_.AddPad(PadName(pad), {});
        model_.AddPad(PadName(pad), {});
    }
}

void Life::Watch() {
    platform_.OnCall("VirtualKey_Send_KeyCode", [this](const Call& call) { Note(KeyDeed(call)); });
    platform_.OnCall("was_request_appid_by_runtitle", [this](const Call& call) {
        Note("asks the store for " + Unquoted(call.arguments[0]) + ", tag " + call.arguments[1]);
    });
    platform_.OnCall("screensaver_reset", [this](const Call&) { Note("resets the screensaver"); });
    platform_.OnCall("vconf_set_int", [this](const Call& call) { Note("publishes activity " + call.arguments[1]); });
    platform_.OnCall("device_power_set_wakeup_reason",
                     [this](const Call& call) { Note("wakes the device for reason " + call.arguments[0]); });
    platform_.OnCall("device_power_set_state", [this](const Call& call) {
        Note("sets power state " + call.arguments[0] + ", flag " + call.arguments[1]);
    });
}

void Life::Note(const std::string& what) {
    const auto lock = platform_.Lock();
    deeds_.push_back({static_cast<long>(Turns::Now().count() / 1000), what});
}

void Life::Start() {
    if (!Initialize()) {
        fprintf(stderr, "the service does not start\n");
        abort();
    }
    turns_.Pass(Turns::Microseconds(0));
    model_.Start(kGameTexts.at(static_cast<size_t>(scenario_.games)).pids);
}

void Life::End() {
    platform_.SetStoreAnswer({});
    platform_.GiveHeldAnswers();
    DeInitialize();
}

// --- what happens ---

void Life::Apply(const Step& step) {
    switch (step.kind) {
        case Step::Kind::Time:
            break;
        case Step::Kind::GameNotice:
        case Step::Kind::AppAnswers:
        case Step::Kind::AppGone:
        case Step::Kind::AppSignal:
            ApplyToApps(step);
            break;
        case Step::Kind::Store:
        case Step::Kind::StoreAnswer:
            ApplyToStore(step);
            break;
        case Step::Kind::Hub:
        case Step::Kind::Terms:
        case Step::Kind::Screensaver:
        case Step::Kind::EasyWakeup:
        case Step::Kind::Power:
        case Step::Kind::Standby:
            ApplyToSettings(step);
            break;
        default:
            ApplyToPads(step);
            break;
    }
    const int time = step.kind == Step::Kind::Time ? step.who : 0;
    turns_.Pass(std::chrono::milliseconds(time));
    model_.Pass(time);
}

void Life::ApplyToPads(const Step& step) {
    const std::string uid = PadName(step.who);
    switch (step.kind) {
        case Step::Kind::Button:
            return Send(step.who, kButton, step.what, step.value);
        case Step::Kind::LetGo:
            if (const auto input = model_.heldBy()) {
                Send(step.who, input->first, input->second, 0);
            }
            return;
        case Step::Kind::Tap:
            Send(step.who, kButton, step.what, 1);
            return Send(step.who, kButton, step.what, 0);
        case Step::Kind::Pair:
            Send(step.who, kButton, step.what == 0 ? kSelect : kStart, 1);
            return Send(step.who, kButton, step.what == 0 ? kStart : kSelect, 1);
        case Step::Kind::Axis:
            return Send(step.who, kAxis, step.what, step.value);
        case Step::Kind::Raw:
            return Send(step.who, step.what, step.value, 1);
        case Step::Kind::Shake:
            for (int i = 0; i < step.value; ++i) {
                Send(step.who, kAxis, step.what, 32767);
                Send(step.who, kAxis, step.what, -32768);
            }
            return;
        case Step::Kind::Plug:
            platform_.Connect(uid, ShapeOf(step.what));
            return model_.Connect(uid, ShapeOf(step.what));
        case Step::Kind::Unplug:
            platform_.Disconnect(uid);
            return model_.Disconnect(uid);
        default:
            platform_.SendConnectionNotice(step.what, uid);
            return model_.ConnectionNotice(step.what, uid);
    }
}

/// A pad that is not there sends nothing.
void Life::Send(int pad, int type, int code, int value) {
    const std::string uid = PadName(pad);
    if (model_.IsOpen(uid)) {
        platform_.PushEvent(uid, type, code, value);
        model_.Event(uid, type, code, value);
        ++events_;
    }
}

void Life::ApplyToApps(const Step& step) {
    const auto id = kAppIds.find(step.who);
    switch (step.kind) {
        case Step::Kind::GameNotice:
            platform_.SendGameAppNotice(step.what, step.who);
            return model_.GameNotice(step.what, step.who);
        case Step::Kind::AppAnswers:
            platform_.SetApp(step.who, id->second, step.what);
            return model_.focus().SetApp(step.who, id->second, step.what);
        case Step::Kind::AppGone:
            platform_.RemoveApp(step.who);
            return model_.focus().RemoveApp(step.who);
        default:
            platform_.SendAppStatus(step.who, step.what);
            return model_.focus().StatusSignal(step.who, step.what);
    }
}

void Life::ApplyToStore(const Step& step) {
    if (step.kind == Step::Kind::Store) {
        platform_.SetStoreAnswer(AnswerOf(step));
        model_.SetStoreAnswer(AnswerOf(step));
    } else {
        platform_.GiveHeldAnswers();
        model_.GiveStoreAnswer();
    }
}

void Life::ApplyToSettings(const Step& step) {
    switch (step.kind) {
        case Step::Kind::Hub:
            platform_.SetInt(kHub, step.what);
            model_.SetHubStatus(step.what);
            break;
        case Step::Kind::Terms:
            step.what == Step::kNone ? platform_.Unset(kTerms) : platform_.SetInt(kTerms, step.what);
            model_.SetTerms(step.what == Step::kNone ? std::nullopt : std::optional<int>(step.what));
            break;
        case Step::Kind::Screensaver:
            platform_.SetBool(kScreensaver, step.what == 1);
            model_.SetScreensaver(step.what == 1);
            break;
        case Step::Kind::EasyWakeup:
            platform_.SetInt(kEasyWakeup, step.what);
            model_.SetEasyWakeup(step.what);
            break;
        case Step::Kind::Power:
            platform_.SetPowerState(step.what);
            model_.SetPowerState(step.what);
            break;
        default:
            platform_.SendStandby();
            model_.StandbyNotice();
            break;
    }
    TellSettings();
}

/// On this thread, which stands for the program's main one.
void Life::TellSettings() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

// --- what is right ---

std::optional<std::string> Life::Compare() {
    const std::vector<Deed>& wanted = model_.deeds();
    const auto lock = platform_.Lock();
    const auto end =
        deeds_.size() <= wanted.size() ? deeds_.end() : deeds_.begin() + static_cast<std::ptrdiff_t>(wanted.size());
    const auto [deed, want] = std::mismatch(deeds_.begin(), end, wanted.begin());
    if (deed == deeds_.end() && want == wanted.end()) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << "the service does [";
    deed == deeds_.end() ? text << "nothing" : text << *deed;
    text << "], the model [";
    want == wanted.end() ? text << "nothing" : text << *want;
    text << "]";
    return text.str();
}

/// What holds whatever the pads do. A tap is a whole press and release, and may fall between those of another key.
std::optional<std::string> Life::JudgeKeys() {
    for (const SentKey& key : platform_.TakeKeys()) {
        if (key.action == KEY_ACTION_PRESS && held_) {
            return "key " + std::to_string(key.code) + " goes down while key " + std::to_string(*held_) + " is held";
        }
        if (key.action == KEY_ACTION_RELEASE && held_ != key.code) {
            return "key " + std::to_string(key.code) + " goes up, which is not held";
        }
        held_ = key.action == KEY_ACTION_PRESS     ? std::optional<int>(key.code)
                : key.action == KEY_ACTION_RELEASE ? std::nullopt
                                                   : held_;
    }
    if (held_ && model_.lastEventOutsideMenuMode()) {
        return "key " + std::to_string(*held_) + " is held outside menu mode";
    }
    if (held_ && step_->kind == Step::Kind::Unplug && !model_.noticesWait()) {
        return "a pad was removed, and key " + std::to_string(*held_) + " is held";
    }
    return std::nullopt;
}

std::optional<std::string> Life::JudgeEnd() {
    std::vector<std::string> wrong = platform_.TakeViolations();
    for (const AssertReport& report : platform_.TakeAsserts()) {
        wrong.push_back("misuse reported: " + report.expression + " in " + report.file);
    }
    for (const std::string& left : platform_.Leftovers()) {
        // A key may be held when the service ends; the virtual-key library lets go of it.
        if (left.rfind("key ", 0) != 0) {
            wrong.push_back("left behind: " + left);
        }
    }
    std::string text;
    for (const std::string& one : wrong) {
        text += (text.empty() ? "at the end: " : "; ") + one;
    }
    return wrong.empty() ? std::nullopt : std::optional<std::string>(text);
}
