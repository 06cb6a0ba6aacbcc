#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "../remote_test.h"
#include "session.h"

/// A test of the service in the session of a living room, with a menu that has the focus and bindings of the pad's
/// right shoulder to an application that is there, of its upper face button to one that nobody knows.
class LivingRoom : public RemoteTest {
protected:
    /// A pass is a pause of 50 ms and what it has to do.
    static constexpr milliseconds kPass{100};
    /// Twice the longest time until the service tells of a pad's use.
    static constexpr std::chrono::seconds kActivityCycle{60};

    LivingRoom();
    void SetUp() override;
    ServiceOptions Options() const override;

    static void Write(const std::filesystem::path& file, const std::string& text);
    std::filesystem::path Setting(const std::string& key) const;
    /// How often pads were used, as the service tells; -1 while it has not.
    int Activity() const;

    /// Prints a line with the time, which shows how far the test has come.
    static void Say(const std::string& what);
    /// As a person at a keyboard does.
    void SwitchWindows();

    UinputPad keyboard_;
    Session session_;
    std::unique_ptr<Window> menu_;
};
