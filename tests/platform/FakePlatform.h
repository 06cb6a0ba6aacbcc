#pragma once

#include "CallRecorder.h"
#include "FakeApps.h"
#include "FakeGamepad.h"
#include "FakeKeys.h"
#include "FakeLog.h"
#include "FakePower.h"
#include "FakeProduct.h"
#include "FakeSettings.h"
#include "FakeStore.h"

/// The whole platform interface as one object: while it lives, the C functions act on it.
///
/// Defaults succeed, so a test states only what differs. Each part is described in its own header.
/// Alone     the constructor ends the program when another one lives.
/// Threads   any thread may call anything at any time. With no double alive the C functions fail quietly: a thread of
///           the service may outlive its test.
/// Verdict   the destructor stops the libraries' threads, waits for the calls under way, and fails the test for
///           unannounced errors, assertions and violations.
/// Clock     the double reads no wall clock and sleeps nowhere, so a program may link clock functions of its own.
class FakePlatform : public CallRecorder,
                     public FakeLog,
                     public FakeSettings,
                     public FakeProduct,
                     public FakeApps,
                     public FakePower,
                     public FakeStore,
                     public FakeKeys,
                     public FakeGamepad {
public:
    FakePlatform();
    ~FakePlatform();
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    /// True as soon as every notice, signal, answer and setting change so far has been delivered.
    bool WaitUntilDelivered(std::chrono::milliseconds atMost = kSoon) const;
    /// What was opened, registered or pressed and is so still.
    std::vector<std::string> Leftovers() const;
    /// The calling thread is in one of the C functions.
    static bool IsVisiting();

    /// The current double, kept alive until the visit ends; null when there is none.
    class Visit {
    public:
        Visit();
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        FakePlatform* platform() const { return platform_; }

    private:
        FakePlatform* platform_;
    };
};
