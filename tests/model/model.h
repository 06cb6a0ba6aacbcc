#pragma once

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "FakeStore.h"
#include "deed.h"
#include "focus_model.h"
#include "pad_model.h"
#include "turn_order.h"

/// A button that is bound to an application.
struct Binding {
    std::string title;
    int key;
};

/// What the service does, seen from outside: the keys and other deeds that follow from what people, pads and the
/// machine do. Without threads; time passes when it is told to. The same moment, the same order as in Turns.
class Model {
public:
    struct House {
        bool smartMonitor = false;
        std::map<int, Binding> bindings;
    };
    explicit Model(House house) : house_(std::move(house)) {}

    /// The service starts: these games run, and the pads that were added are there.
    void Start(const std::vector<int>& games);
    void Pass(long milliseconds);

    void AddPad(const std::string& uid, const PadShape& shape) { plugged_.push_back({uid, shape}); }
    void Connect(const std::string& uid, const PadShape& shape);
    void Disconnect(const std::string& uid);
    void ConnectionNotice(int type, const std::string& uid);
    bool IsOpen(const std::string& uid) const;
    void Event(const std::string& uid, int type, int code, int value);
    void GameNotice(int type, int pid);
    FocusModel& focus() { return focus_; }

    void SetHubStatus(int status) { hubStatus_ = status; }
    void SetTerms(std::optional<int> terms) { terms_ = terms; }
    void SetStoreAnswer(const StoreAnswer& answer) { storeAnswer_ = answer; }
    void GiveStoreAnswer();

    void SetScreensaver(bool on) { screensaverOn_ = on; }
    void SetEasyWakeup(int value) { easyWakeup_ = value; }
    void SetPowerState(int state) { powerState_ = state; }
    void StandbyNotice();

    const std::vector<Deed>& deeds() const { return deeds_; }
    /// Type and code of the event that pressed the key that is held.
    std::optional<std::pair<int, int>> heldBy() const {
        return held_ ? std::optional<std::pair<int, int>>({held_->type, held_->code}) : std::nullopt;
    }
    /// The last event that could press or release a key fell outside menu mode, so none may be held now.
    bool lastEventOutsideMenuMode() const { return lastEventOutside_; }
    /// A pad is being connected or removed, and waits for the reader of the pads.
    bool noticesWait() const { return !notices_.empty(); }

private:
    enum class Who { Dispatcher, Monitor, Pair, Library, Timer0, Timer1, Timer2, Timer3 };
    static constexpr int kTimers = 4;

    struct Plugged {
        std::string uid;
        PadShape shape;
    };
    struct Open {
        PadModel pad;
        std::deque<_gamepad_event_s> events;
    };
    struct Held {
        int type;
        int code;
        int key;
    };
    struct Timer {
        bool exists = false;
        bool armed = false;
        int starts = 0;
        bool waits = false;     ///< for the end of the hold
        bool released = false;  ///< while it waited
    };

    void Do(const std::string& what) { deeds_.push_back({order_.now(), what}); }
    void Send(int key, KeyMove move) { Do(KeyText(key, move)); }
    void Act(Who who);
    void LetAwakeAct();

    // Pads.
    void Notice(std::function<bool()> deliver);
    void DeliverNotices();
    std::optional<int> OpenPad(const std::string& uid);
    bool RemovePad(const std::string& uid);

    // One event after the other.
    void GoOnReading();
    bool ReadNextBatch();
    bool Handle(const _gamepad_event_s& event);
    void HandleUnbound(const _gamepad_event_s& event);
    void HandleInMenu(const PadModel& pad, const _gamepad_event_s& event);
    void ReleaseHeld();

    // Applications.
    bool IsBound(const _gamepad_event_s& event) const;
    bool AskStore(const Binding& binding);
    bool Launch(const Binding& binding, const StoreAnswer& answer);

    // Home.
    void HandleHome(int device, int value);
    void PressHomeLong(int device);
    void RunTimer(int device);
    static Who TimerOf(int device) { return static_cast<Who>(static_cast<int>(Who::Timer0) + device); }

    // Pairs.
    void HandlePair(const _gamepad_event_s& event);
    void PressPair(int button);
    void PollPair();

    // Activity.
    void NoteActivity();
    void RunMonitor();
    void MonitorCycle();

    House house_;
    TurnOrder<Who> order_;
    std::vector<Deed> deeds_;
    FocusModel focus_;

    std::vector<Plugged> plugged_;
    std::map<int, Open> open_;  // by device id
    std::vector<int> table_;    // device ids
    std::deque<std::function<bool()>> notices_;
    bool reading_ = false;  // the table belongs to the reader
    size_t reader_ = 0;
    std::deque<_gamepad_event_s> batch_;

    std::optional<Held> held_;
    int hubStatus_ = 0;
    bool lastEventOutside_ = false;

    std::optional<int> terms_ = 1;
    StoreAnswer storeAnswer_;
    std::string etag_;
    struct Query {
        Binding binding;
        StoreAnswer answer;
        bool answered = false;
    };
    std::optional<Query> query_;

    std::array<Timer, kTimers> timers_;

    std::optional<int> first_;  // buttons of the pair that are down
    std::optional<int> second_;
    bool pairPolled_ = false;
    int pairPolls_ = 0;

    bool screensaverOn_ = false;
    int easyWakeup_ = 0;
    int powerState_ = 0;
    bool wakesDevice_ = false;
    bool active_ = false;
    long activity_ = 0;
    long published_ = 0;
    int monitorCalls_ = 2;  // its start, and one more at once
};
