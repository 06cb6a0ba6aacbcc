#include "FakePlatform.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// Counts the calls inside the current double. Never destroyed: threads may call until the process is gone.
struct Gate {
    std::mutex mutex;
    std::condition_variable left;
    FakePlatform* current = nullptr;
    int inside = 0;
};

Gate& TheGate() {
    static auto& gate = *new Gate;
    return gate;
}

thread_local int visits = 0;

[[noreturn]] void GiveUp(const char* why) {
    fprintf(stderr, "FakePlatform: %s\n", why);
    abort();
}

void CloseGate() {
    Gate& gate = TheGate();
    std::unique_lock<std::mutex> lock(gate.mutex);
    gate.current = nullptr;
    if (!gate.left.wait_for(lock, 3 * kSoon, [&] { return gate.inside == 0; })) {
        GiveUp("a call into the double does not return");
    }
}

}  // namespace

FakePlatform::Visit::Visit() {
    ++visits;
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.mutex);
    platform_ = gate.current;
    gate.inside += platform_ == nullptr ? 0 : 1;
}

FakePlatform::Visit::~Visit() {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.mutex);
    gate.inside -= platform_ == nullptr ? 0 : 1;
    gate.left.notify_all();
    --visits;
}

bool FakePlatform::IsVisiting() {
    return visits > 0;
}

FakePlatform::FakePlatform()
    : FakeLog(static_cast<CallRecorder&>(*this)),
      FakeSettings(static_cast<CallRecorder&>(*this)),
      FakeProduct(static_cast<CallRecorder&>(*this)),
      FakeApps(static_cast<CallRecorder&>(*this)),
      FakePower(static_cast<CallRecorder&>(*this)),
      FakeStore(static_cast<CallRecorder&>(*this)),
      FakeKeys(static_cast<CallRecorder&>(*this)),
      FakeGamepad(static_cast<CallRecorder&>(*this)) {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.mutex);
    if (gate.current != nullptr) {
        GiveUp("there is one already");
    }
    gate.current = this;
}

FakePlatform::~FakePlatform() {
    for (LibraryThread* const thread : {&GamepadThread(), &AppThread(), &PowerThread(), &StoreThread()}) {
        thread->Stop();
    }
    CloseGate();
    DropChanges();
    JudgeCalls();
    JudgeLog();
}

bool FakePlatform::WaitUntilDelivered(std::chrono::milliseconds atMost) const {
    return WaitUntilNoticesTold(atMost) && WaitUntilAppStatusTold(atMost) && WaitUntilStandbyTold(atMost) &&
           WaitUntilStoreAnswered(atMost) && WaitUntilChangesTold(atMost);
}

std::vector<std::string> FakePlatform::Leftovers() const {
    std::vector<std::string> leftovers;
    AppendGamepadLeftovers(leftovers);
    AppendKeyLeftovers(leftovers);
    AppendSettingLeftovers(leftovers);
    AppendAppLeftovers(leftovers);
    AppendPowerLeftovers(leftovers);
    return leftovers;
}
