#pragma once

#include <gmock/gmock.h>
#include <platform/dlog.h>

#include <optional>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "ServiceProcess.h"
#include "resource_faults.h"
#include "service_clock.h"

/// The whole program in front of a platform on which everything works, with its clock standing still.
/// There is no app configuration file, which the program says at error level; tests that mind look for it themselves.
class ServiceTest : public testing::Test {
protected:
    ServiceTest();
    ~ServiceTest() override;

    /// Plugs a pad before the start, unless one is there already, and waits until the program polls it.
    void Start();
    /// Ends the program as SIGTERM does.
    void Stop();
    void Plug(const std::string& uid, const PadShape& shape = {});

    /// Each sends one event and waits until the program is through with it.
    void Send(int type, int code, int value, const std::string& uid = kPad);
    void Press(int button, const std::string& uid = kPad) { Send(1, button, 1, uid); }
    void Release(int button, const std::string& uid = kPad) { Send(1, button, 0, uid); }
    void Move(int axis, int position, const std::string& uid = kPad) { Send(3, axis, position, uid); }

    /// A game takes the focus, or gives it back.
    void EnterGame();
    void LeaveGame();

    /// Changes a setting and waits until the program was told.
    void Change(const std::string& key, const Setting& value);

    /// The messages at error level so far, without those of every orderly end.
    std::vector<std::string> Errors() const;

    static constexpr char kPad[] = "pad";
    static constexpr char kPlaydeckStatus[] = "memory/accessory/playnest_status";
    static constexpr char kDispatcherThread[] = "GamepadEventDis";

    FakePlatform platform;
    ServiceClock clock;
    std::optional<ServiceProcess> service;

private:
    bool hasPad_ = false;
};

/// One message in the main buffer: its level, the place it speaks for ("GamepadTimer.cpp: t_Main") and its text.
MATCHER_P3(IsMessage, priority, where, message,
           testing::PrintToString(priority) + " " + std::string(where) + " > " + std::string(message)) {
    return arg.priority == priority && arg.where == where && arg.message == message && arg.buffer == LOG_ID_MAIN;
}
inline auto Debug(const std::string& where, const std::string& message) {
    return IsMessage(static_cast<int>(DLOG_DEBUG), where, message);
}
inline auto Info(const std::string& where, const std::string& message) {
    return IsMessage(static_cast<int>(DLOG_INFO), where, message);
}
inline auto Error(const std::string& where, const std::string& message) {
    return IsMessage(static_cast<int>(DLOG_ERROR), where, message);
}

/// The entries stand there in this order, whatever stands between them.
MATCHER_P(HasInOrder, entries, "has in this order " + testing::PrintToString(entries)) {
    auto from = arg.begin();
    for (const std::string& entry : entries) {
        from = std::find(from, arg.end(), entry);
        if (from == arg.end()) {
            *result_listener << "and \"" << entry << "\" is missing there";
            return false;
        }
        ++from;
    }
    return true;
}
using Entries = std::vector<std::string>;
