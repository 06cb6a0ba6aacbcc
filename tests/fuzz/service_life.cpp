#include "service_life.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <utility>

#include "../../Main/main.h"
#include "fuzz.h"

namespace {

// A failed expectation of the double ends the program.
[[maybe_unused]] const bool gThrows = (GTEST_FLAG_SET(throw_on_failure, true), true);

std::mutex gLock;
std::condition_variable gChanged;
fuzz::ServiceLife::Step gStep;
bool gIsOver = true;

bool IsDispatcher() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return std::strcmp(name, "GamepadEventDis") == 0;
}

void SetOver(bool isOver) {
    const std::lock_guard<std::mutex> hold(gLock);
    gIsOver = isOver;
    gChanged.notify_all();
}

bool IsOver() {
    const std::lock_guard<std::mutex> hold(gLock);
    return gIsOver;
}

void WaitUntilOver() {
    std::unique_lock<std::mutex> hold(gLock);
    gChanged.wait(hold, [] { return gIsOver; });
}

}  // namespace

// The dispatcher's pause is the script's turn. Whoever else pauses does so until the end, since a run has no time.
extern "C" int __wrap_usleep(unsigned time);
int __wrap_usleep(unsigned) {
    if (!IsDispatcher()) {
        WaitUntilOver();
    } else if (!IsOver() && !gStep()) {
        SetOver(true);
    }
    return 0;
}

namespace fuzz {

void ServiceLife::Run(FakePlatform& platform, Step step) {
    platform.AllowErrors();
    gStep = std::move(step);
    SetOver(false);
    Require(Initialize(), "the service starts");
    WaitUntilOver();
    DeInitialize();
    for (const std::string& leftover : platform.Leftovers()) {
        Require(leftover.empty(), leftover.c_str());
    }
}

}  // namespace fuzz
