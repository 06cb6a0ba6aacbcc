#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "key_reader.h"
#include "service.h"
#include "uinput_pad.h"

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The running program between pads of the test's own and the keyboard that it makes.
///
/// At the end of each test the service is stopped, and every key that it sent must have been read: no test overlooks
/// a key too many.
class RemoteTest : public testing::Test {
protected:
    RemoteTest();
    ~RemoteTest() override;
    void SetUp() override { Start(); }
    void TearDown() override;

    /// Starts the service and waits until it serves its pads; `user` as in ServiceOptions.
    void Start();
    virtual ServiceOptions Options() const;
    /// Stops the service, reading what its keyboard still delivers.
    void Stop();

    /// A pad that the service already reads.
    std::unique_ptr<UinputPad> PlugIn(const PadLayout& layout = CommonPad());
    /// Moves the left stick a little, which no key answers, until the service has read it; in the given mode, which is
    /// one of the two below.
    void WaitUntilServed(UinputPad& pad, const std::string& mode = {});
    static constexpr const char* kMenuMode = ", [MenuMode]";
    static constexpr const char* kGameMode = ", [NOT MenuMode]";
    bool Reads(const std::string& node) const;

    void ExpectKeys(const std::vector<Key>& expected);
    /// Any number of keys, each pressed and released before the next, then a press of `code`, which is returned.
    Key ExpectWholeKeysBefore(int code);
    /// Presses and releases the pad's south button, after which nothing earlier is still on its way.
    void ExpectNothingBefore(UinputPad& pad);

    /// Writes the game-hub status as a person would with `echo`; the service has taken it in if it was running.
    void SetStatus(const std::string& text);

    /// Times can be judged in the exact clock only; in the others this is as long as anything may take.
    static milliseconds Limit(milliseconds exact);

    std::filesystem::path runtime_;
    std::unique_ptr<Service> service_;
    std::unique_ptr<KeyReader> keys_;
};

/// The same, for tests that have something to do before the service starts.
class StoppedRemoteTest : public RemoteTest {
protected:
    void SetUp() override {}
};
