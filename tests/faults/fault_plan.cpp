#include "fault_plan.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

#include "FakePlatform.h"

namespace {

constexpr const char* kNames[] = {
#define KIND(name, function) function,
#include "kinds.def"
#undef KIND
};

// Constant from the beginning: the first allocation comes before any constructor.
std::atomic<bool> armed{false};
std::atomic<int> counts[FaultPlan::kKinds];
std::atomic<int> failingKind{-1};
std::atomic<int> failingCall{0};
thread_local int outside = 0;

}  // namespace

bool FaultPlan::Knows(const std::string& function) {
    return std::find(std::begin(kNames), std::end(kNames), function) != std::end(kNames);
}

void FaultPlan::Arm(const Fault& fault) {
    const auto name = std::find(std::begin(kNames), std::end(kNames), fault.function);
    failingKind = name == std::end(kNames) ? -1 : static_cast<int>(name - std::begin(kNames));
    failingCall = fault.nth;
    armed = true;
}

void FaultPlan::Disarm() {
    armed = false;
}

bool FaultPlan::Fails(Kind kind) {
    return armed && ++counts[kind] == failingCall && kind == failingKind;
}

bool FaultPlan::MemoryFails() {
    return armed && outside == 0 && !FakePlatform::IsVisiting() && Fails(kMemory);
}

void FaultPlan::NoteThreadEnds() {
    ++outside;
}

std::map<std::string, int> FaultPlan::Counts() {
    std::map<std::string, int> result;
    for (size_t kind = 0; kind < kKinds; ++kind) {
        result[kNames[kind]] = counts[kind];
    }
    return result;
}

FaultPlan::Outside::Outside() {
    ++outside;
}
FaultPlan::Outside::~Outside() {
    --outside;
}
