#include "model.h"

#include <algorithm>
#include <utility>

namespace {

constexpr long kPause = 50;
constexpr long kHold = 1000;
constexpr int kPairPolls = 1000 / 50;
constexpr long kMonitorPeriod = 30000;
constexpr size_t kBatch = 16;
constexpr int kHome = 14;
constexpr int kSelect = 10;
constexpr int kStart = 11;
constexpr int kHomeKey = 71;
constexpr int kHubKey = 572;
constexpr int kMenuKey = 74;
constexpr int kPowerKey = 124;
constexpr int kHoldStatus = 1000;
constexpr int kStandby = 2;

bool IsPress(const _gamepad_event_s& event) {
    return event.type == 1 && event.value == 1;
}

}  // namespace

// --- time ---

void Model::Start(const std::vector<int>& games) {
    for (const int pid : games) {
        focus_.GameOpened(pid);
    }
    for (const Plugged& pad : plugged_) {
        table_.push_back(OpenPad(pad.uid).value());
    }
    order_.Wake(Who::Dispatcher);
    order_.Wake(Who::Monitor);
    Pass(0);
}

void Model::Pass(long milliseconds) {
    const long end = order_.now() + milliseconds;
    do {
        LetAwakeAct();
    } while (order_.WakeNextUntil(end));
}

void Model::LetAwakeAct() {
    Who who{};
    while (order_.TakeAwake(who)) {
        Act(who);
    }
}

void Model::Act(Who who) {
    switch (who) {
        case Who::Dispatcher:
            return GoOnReading();
        case Who::Monitor:
            return RunMonitor();
        case Who::Pair:
            return PollPair();
        case Who::Library:
            return DeliverNotices();
        default:
            return RunTimer(static_cast<int>(who) - static_cast<int>(Who::Timer0));
    }
}

// --- pads ---

void Model::Notice(std::function<bool()> deliver) {
    notices_.push_back(std::move(deliver));
    if (notices_.size() == 1) {
        DeliverNotices();
    }
}

/// In order; one that needs the table waits for the reader, and all others wait behind it.
void Model::DeliverNotices() {
    while (!notices_.empty() && notices_.front()()) {
        notices_.pop_front();
    }
}

void Model::Connect(const std::string& uid, const PadShape& shape) {
    AddPad(uid, shape);
    ConnectionNotice(GAMEPAD_CONNECTED, uid);
}

void Model::Disconnect(const std::string& uid) {
    const auto same = [&](const Plugged& one) { return one.uid == uid; };
    plugged_.erase(std::remove_if(plugged_.begin(), plugged_.end(), same), plugged_.end());
    ConnectionNotice(GAMEPAD_DISCONNECTED, uid);
}

void Model::ConnectionNotice(int type, const std::string& uid) {
    if (type == GAMEPAD_CONNECTED) {
        Notice([this, uid, opened = std::optional<int>(), tried = false]() mutable {
            opened = tried ? opened : OpenPad(uid);
            tried = true;
            if (opened && reading_) {
                return false;
            }
            if (opened) {
                table_.push_back(*opened);
            }
            return true;
        });
    } else if (type == GAMEPAD_DISCONNECTED) {
        Notice([this, uid] { return !reading_ && RemovePad(uid); });
    }
}

std::optional<int> Model::OpenPad(const std::string& uid) {
    const auto pad = std::find_if(plugged_.begin(), plugged_.end(), [&](const Plugged& one) { return one.uid == uid; });
    if (pad == plugged_.end()) {
        return std::nullopt;
    }
    int id = 0;
    while (open_.count(id) != 0) {
        ++id;
    }
    open_.emplace(id, Open{PadModel(id, uid, pad->shape), {}});
    return id;
}

bool Model::RemovePad(const std::string& uid) {
    const auto gone = std::find_if(table_.begin(), table_.end(), [&](int id) { return open_.at(id).pad.uid == uid; });
    if (gone != table_.end()) {
        open_.erase(*gone);
        table_.erase(gone);
    }
    ReleaseHeld();
    return true;
}

bool Model::IsOpen(const std::string& uid) const {
    return std::any_of(open_.begin(), open_.end(), [&](const auto& one) { return one.second.pad.uid == uid; });
}

void Model::Event(const std::string& uid, int type, int code, int value) {
    for (auto& [id, open] : open_) {
        if (open.pad.uid == uid) {
            open.events.push_back({0, type, code, value});
        }
    }
}

void Model::GameNotice(int type, int pid) {
    Notice([this, type, pid] {
        if (type == GAMEAPP_OPENED) {
            focus_.GameOpened(pid);
        } else if (type == GAMEAPP_CLOSED) {
            focus_.GameClosed(pid);
        }
        return true;
    });
}

// --- one event after the other ---

void Model::GoOnReading() {
    if (!reading_) {
        reading_ = true;
        reader_ = 0;
    }
    while (!batch_.empty() || ReadNextBatch()) {
        if (!Handle(batch_.front())) {
            return;
        }
        batch_.pop_front();
    }
    reading_ = false;
    if (!notices_.empty()) {
        order_.Wake(Who::Library);
    }
    order_.SleepUntil(Who::Dispatcher, order_.now() + kPause);
}

/// The next pad's, of those that have something to say.
bool Model::ReadNextBatch() {
    while (batch_.empty() && reader_ < table_.size()) {
        auto& events = open_.at(table_[reader_++]).events;
        const auto end = events.begin() + static_cast<std::ptrdiff_t>(std::min(kBatch, events.size()));
        batch_.assign(events.begin(), end);
        events.erase(events.begin(), end);
    }
    if (!batch_.empty()) {
        NoteActivity();
    }
    return !batch_.empty();
}

/// False while the store's answer is awaited.
bool Model::Handle(const _gamepad_event_s& event) {
    if (IsBound(event)) {
        const Binding& binding = house_.bindings.at(event.code);
        if (!query_ && terms_.value_or(0) == 0) {
            Send(binding.key, KeyMove::Tap);
            return true;
        }
        if (!query_ && !AskStore(binding)) {
            HandleUnbound(event);
            return true;
        }
        if (!query_->answered) {
            return false;
        }
        const Query query = *std::exchange(query_, std::nullopt);
        if (Launch(query.binding, query.answer)) {
            return true;
        }
    }
    HandleUnbound(event);
    return true;
}

void Model::HandleUnbound(const _gamepad_event_s& event) {
    const PadModel& pad = open_.at(table_[reader_ - 1]).pad;
    if (event.code == kHome) {
        HandleHome(pad.id, event.value);
        return;
    }
    lastEventOutside_ = !focus_.menuMode();
    if (lastEventOutside_) {
        ReleaseHeld();
    } else {
        HandleInMenu(pad, event);
    }
}

void Model::HandleInMenu(const PadModel& pad, const _gamepad_event_s& event) {
    if (held_) {
        if (ReleasesKey(pad, event, held_->type, held_->code)) {
            ReleaseHeld();
        }
    } else if (event.code == kSelect || event.code == kStart) {
        HandlePair(event);
    } else if (const auto key = PressedKey(pad, event, hubStatus_)) {
        Send(*key, KeyMove::Down);
        held_ = {event.type, event.code, *key};
    }
}

void Model::ReleaseHeld() {
    if (held_) {
        Send(held_->key, KeyMove::Up);
        held_.reset();
    }
}

// --- applications ---

bool Model::IsBound(const _gamepad_event_s& event) const {
    const auto found = house_.bindings.find(event.code);
    return IsPress(event) && found != house_.bindings.end() && !found->second.title.empty();
}

/// False when it takes no questions.
bool Model::AskStore(const Binding& binding) {
    Do("asks the store for " + binding.title + ", tag \"" + etag_ + "\"");
    if (storeAnswer_.refusal != 0) {
        return false;
    }
    query_ = Query{binding, storeAnswer_};
    if (storeAnswer_.when != StoreAnswer::When::WhenTold) {
        LetAwakeAct();
        query_->answered = true;
    }
    return true;
}

void Model::GiveStoreAnswer() {
    if (query_ && !query_->answered) {
        query_->answered = true;
        order_.Wake(Who::Dispatcher);
    }
}

/// True when the press is used up.
bool Model::Launch(const Binding& binding, const StoreAnswer& answer) {
    etag_ = answer.etag.value_or("");
    const bool known = (answer.status == 0 || answer.status == 1) && !answer.appId.value_or("").empty();
    if (known) {
        Send(binding.key, KeyMove::Tap);
    }
    return known;
}

// --- Home ---

void Model::HandleHome(int device, int value) {
    if (!focus_.menuMode()) {
        return;
    }
    if (hubStatus_ != kHoldStatus) {
        if (value == 1 && (hubStatus_ == 0 || hubStatus_ == 1)) {
            Send(hubStatus_ == 0 ? kHomeKey : kHubKey, KeyMove::Tap);
        }
    } else if (device < kTimers && value == 1) {
        PressHomeLong(device);
    } else if (device < kTimers && value == 0) {
        Timer& timer = timers_[static_cast<size_t>(device)];
        if (std::exchange(timer.armed, false)) {
            timer.released = timer.waits;
            if (timer.waits) {
                order_.Wake(TimerOf(device));
            }
        }
    }
}

void Model::PressHomeLong(int device) {
    Timer& timer = timers_[static_cast<size_t>(device)];
    if (!std::exchange(timer.exists, true)) {
        LetAwakeAct();
    }
    timer.armed = true;
    ++timer.starts;
    if (!timer.waits) {
        order_.Wake(TimerOf(device));
    }
}

void Model::RunTimer(int device) {
    Timer& timer = timers_[static_cast<size_t>(device)];
    const bool held = std::exchange(timer.waits, false) && !std::exchange(timer.released, false);
    if (held) {
        timer.armed = false;
        Send(kHubKey, KeyMove::Tap);
    }
    while (!timer.waits && timer.starts > 0) {
        --timer.starts;
        timer.waits = timer.armed;
    }
    if (timer.waits) {
        order_.SleepUntil(TimerOf(device), order_.now() + kHold);
    }
}

// --- pairs ---

void Model::HandlePair(const _gamepad_event_s& event) {
    if (event.value == 1) {
        PressPair(event.code);
    } else if (event.value == 0) {
        auto& released = first_ == event.code ? first_ : second_;
        released = released == event.code ? std::nullopt : released;
    }
}

void Model::PressPair(int button) {
    if (first_ && second_) {
        return;
    }
    if (!first_ && !second_) {
        if (button == kStart) {
            Send(kMenuKey, KeyMove::Tap);
        }
        first_ = button;
    } else if (button != first_.value_or(second_.value_or(0))) {
        (first_ ? second_ : first_) = button;
        if (!std::exchange(pairPolled_, true)) {
            order_.Wake(Who::Pair);
        }
    }
}

void Model::PollPair() {
    pairPolls_ = first_ && second_ ? pairPolls_ + 1 : 0;
    if (pairPolls_ == kPairPolls + 1) {
        Send(kPowerKey, KeyMove::Tap);
    }
    order_.SleepUntil(Who::Pair, order_.now() + kPause);
}

// --- activity ---

void Model::NoteActivity() {
    active_ = true;
    if (screensaverOn_) {
        ++monitorCalls_;
        order_.Wake(Who::Monitor);
    }
    if (std::exchange(wakesDevice_, false)) {
        Do("wakes the device for reason 1");
        Do("sets power state 0, flag 1");
        powerState_ = 0;
    }
    ++activity_;
}

void Model::RunMonitor() {
    do {
        monitorCalls_ = std::max(monitorCalls_ - 1, 0);
        MonitorCycle();
    } while (monitorCalls_ > 0);
    order_.SleepUntil(Who::Monitor, order_.now() + kMonitorPeriod);
}

void Model::MonitorCycle() {
    if (activity_ != published_) {
        Do("publishes activity " + std::to_string(activity_));
        published_ = activity_;
    }
    if (std::exchange(active_, false)) {
        Do("resets the screensaver");
    }
}

void Model::StandbyNotice() {
    if (house_.smartMonitor && powerState_ == kStandby && easyWakeup_ == 1) {
        wakesDevice_ = true;
    }
}
