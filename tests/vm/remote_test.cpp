#include "remote_test.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr const char* kLoopRuns = "Loop to handle gamepad key event";
constexpr const char* kStatusFile = "quorvex/memory/accessory/playnest_status";
// A fifth of the way from the centre: more than what a resting stick shows, less than what counts as a push.
constexpr int kNudgeDivisor = 5;

// Where the log shows an event of the left stick's x axis, and one that tells that it rests.
constexpr const char* kStickEvent = ",3,0,";
constexpr const char* kStickRests = ",3,0,0]";

fs::path FreshFolder() {
    std::string name = "/run/remote-test-XXXXXX";
    return mkdtemp(name.data()) != nullptr ? fs::path(name) : fs::path();
}

}  // namespace

RemoteTest::RemoteTest() : runtime_(FreshFolder()) {}

RemoteTest::~RemoteTest() {
    service_.reset();
    std::error_code ignored;
    fs::remove_all(runtime_, ignored);
}

ServiceOptions RemoteTest::Options() const {
    ServiceOptions options;
    options.environment = {"QUORVEX_LOG=info", "PATH=/usr/bin:/bin", "HOME=" + runtime_.string(),
                           "XDG_RUNTIME_DIR=" + runtime_.string()};
    return options;
}

void RemoteTest::Start() {
    service_ = std::make_unique<Service>(Options());
    ASSERT_TRUE(service_->Prints(kLoopRuns)) << service_->Tail();
    keys_ = std::make_unique<KeyReader>();
    ASSERT_TRUE(keys_->Found()) << service_->Tail();
}

void RemoteTest::TearDown() {
    if (service_ != nullptr && keys_ != nullptr) {
        Stop();
    }
    if (HasFailure() && service_ != nullptr) {
        ADD_FAILURE() << "the end of the service's log:\n" << service_->Tail();
    }
}

void RemoteTest::Stop() {
    service_->Terminate();
    EXPECT_EQ(service_->ExitStatus(), 0);
    const auto rest = keys_->ReadUntilGone();
    ASSERT_TRUE(rest) << "the keyboard outlives the service";
    EXPECT_THAT(*rest, IsEmpty()) << "sent, but expected by nobody";
    EXPECT_TRUE(keys_->OneKeyPerFrame());
    keys_.reset();
}

std::unique_ptr<UinputPad> RemoteTest::PlugIn(const PadLayout& layout) {
    auto pad = std::make_unique<UinputPad>(layout);
    WaitUntilServed(*pad);
    return pad;
}

void RemoteTest::WaitUntilServed(UinputPad& pad, const std::string& mode) {
    const size_t before = service_->Now();
    size_t place = before;
    const Axis stick = pad.Layout().AxisOf(ABS_X);
    int nudge = (stick.maximum - stick.Centre()) / kNudgeDivisor;
    const bool served = Until([&] {
        pad.Move(ABS_X, stick.Centre() + nudge);
        nudge = -nudge;
        const auto event = service_->Find(kStickEvent, place, milliseconds(100));
        place = event ? *event + 1 : place;
        return event && service_->Line(kStickEvent, *event).find(mode) != std::string::npos;
    });
    ASSERT_TRUE(served) << pad.Layout().name << " is not read" << mode << '\n' << service_->Tail();
    // The last of the nudges, so that none is left to be taken for another pad's.
    pad.Move(ABS_X, stick.Centre());
    ASSERT_TRUE(service_->Prints(kStickRests, before)) << service_->Tail();
}

bool RemoteTest::Reads(const std::string& node) const {
    const auto files = service_->OpenFiles();
    return std::find(files.begin(), files.end(), node) != files.end();
}

void RemoteTest::ExpectKeys(const std::vector<Key>& expected) {
    EXPECT_EQ(keys_->Read(expected.size()), expected);
}

Key RemoteTest::ExpectWholeKeysBefore(int code) {
    for (;;) {
        const std::vector<Key> press = keys_->Read(1);
        if (press == Pressed(code)) {
            return press[0];
        }
        EXPECT_EQ(press, Pressed(press.empty() ? code : press[0].code));
        if (press.empty()) {
            return {};
        }
        ExpectKeys(Released(press[0].code));
    }
}

void RemoteTest::ExpectNothingBefore(UinputPad& pad) {
    pad.Press(BTN_SOUTH);
    pad.Release(BTN_SOUTH);
    ExpectKeys(PressedAndReleased(KEY_ENTER));
}

void RemoteTest::SetStatus(const std::string& text) {
    const size_t before = service_ != nullptr ? service_->Now() : 0;
    fs::create_directories((runtime_ / kStatusFile).parent_path());
    std::ofstream(runtime_ / kStatusFile) << text << '\n';
    if (service_ != nullptr) {
        EXPECT_TRUE(service_->Prints("Playdeck status is changed", before)) << service_->Tail();
    }
}

milliseconds RemoteTest::Limit(milliseconds exact) {
    const char* clock = getenv("QUORVEX_CLOCK");
    return clock != nullptr && std::string(clock) == "exact" ? exact : kPatience;
}
