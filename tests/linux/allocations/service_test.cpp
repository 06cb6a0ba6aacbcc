// What an event takes from the heap on its way from the kernel to the keys and the log: nothing.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "../games/temporary_folder.h"
#include "GamepadEventDispatcher.h"
#include "counted_allocations.h"
#include "deadline.h"
#include "pad_testbed.h"

namespace {

constexpr int kNode = 5;
constexpr int kRounds = 20;
/// All that happens for an event happens on these; the service's other threads sleep, or look twice a minute.
const std::vector<std::string> kThreads{"GamepadEventDis", "CombinedHandle-"};

std::string ContentOf(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A descriptor's output goes into a file for as long as this lives.
class Redirected {
public:
    Redirected(int fd, const std::string& file) : fd_(fd), before_(dup(fd)) {
        const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        dup2(opened, fd_);
        close(opened);
    }
    ~Redirected() {
        dup2(before_, fd_);
        close(before_);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

private:
    const int fd_;
    const int before_;
};

/// The service on a machine that has one pad, prints its keys into a file and logs everything into another.
class Playing : public testing::Test {
protected:
    Playing() {
        setenv("QUORVEX_LOG", "info", 1);
        setenv("QUORVEX_KEYS", "print", 1);
        for (const char* const folder : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"}) {
            setenv(folder, folder_.Path("").c_str(), 1);
        }
        for (const char* const bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
            setenv(bus, ("unix:path=" + folder_.Path("no-bus")).c_str(), 1);
        }
        SetUdevdRuns(false);
        pads_.Plug(kNode, StandardPad());
    }

    void Start() {
        dispatcher_ = Singleton<GamepadEventDispatcher>::GetInstance();
        dispatcher_->Initialize();
        isPlaying_ = Until([this] { return Log().find("Loop to handle gamepad key event") != std::string::npos; });
    }
    void Stop() {
        dispatcher_->DeInitialize();
        Singleton<GamepadEventDispatcher>::DestroyInstance();
    }

    void Button(int button, int value) { pads_.Send(kNode, EV_KEY, button, value); }
    void PressAndRelease(int button) {
        Button(button, 1);
        Button(button, 0);
    }
    void Move(int axis, std::initializer_list<int> positions) {
        for (const int position : positions) {
            pads_.Send(kNode, EV_ABS, axis, position);
        }
    }

    /// Waits until these keys, and no others, have come.
    void Expect(const std::string& keys) {
        expected_ += keys;
        isPlaying_ = isPlaying_ && Until([this] { return Keys().size() >= expected_.size(); });
    }
    /// Everything that pads do, and the keys of it.
    void Round() {
        PressAndRelease(BTN_SOUTH);
        Move(ABS_X, {32767, 0});
        Move(ABS_RY, {3000, 6000, 9000, 0});
        Move(ABS_Z, {100, 200, 0});
        Move(ABS_HAT0Y, {-1, 0});
        Expect(
            "KEY_ENTER 36 press\nKEY_ENTER 36 release\nKEY_RIGHT 114 press\nKEY_RIGHT 114 release\n"
            "KEY_UP 111 press\nKEY_UP 111 release\n");
        PressAndRelease(BTN_THUMBL);
        PressAndRelease(BTN_MODE);
        Button(BTN_SELECT, 1);
        PressAndRelease(BTN_START);
        Button(BTN_SELECT, 0);
        PressAndRelease(BTN_START);
        Expect("REMOTE_STICK 571 press\nREMOTE_STICK 571 release\nKEY_F5 71 press+release\nKEY_F8 74 press+release\n");
    }
    /// Two buttons held until their own key comes.
    void Hold() {
        Button(BTN_SELECT, 1);
        Button(BTN_START, 1);
        Expect("KEY_POWER 124 press+release\n");
        Button(BTN_START, 0);
        Button(BTN_SELECT, 0);
    }

    std::string Keys() const { return ContentOf(folder_.Path("keys")); }
    std::string Log() const { return ContentOf(folder_.Path("log")); }

    TemporaryFolder folder_;
    PadTestbed pads_;
    GamepadEventDispatcher* dispatcher_ = nullptr;
    std::string expected_;
    bool isPlaying_ = true;
};

TEST_F(Playing, TakesNothingFromTheHeap) {
    int atTheStart = 0;
    int after = -1;
    {
        const Redirected keys(STDOUT_FILENO, folder_.Path("keys"));
        const Redirected log(STDERR_FILENO, folder_.Path("log"));
        atTheStart = AllocationsOn(kThreads, [this] {
            Start();
            Round();  // the first pair of buttons starts a thread
            Hold();
        });
        after = AllocationsOn(kThreads, [this] {
            for (int round = 0; round < kRounds && isPlaying_; ++round) {
                Round();
            }
            Hold();
        });
        Stop();
    }
    EXPECT_EQ(Keys(), expected_);
    EXPECT_GT(Log().size(), 100000U);
    EXPECT_GT(atTheStart, 0) << "nothing was counted at all";
    EXPECT_EQ(after, 0);
}

}  // namespace
