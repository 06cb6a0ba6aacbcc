#include "gamepad/event_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "gamepad/evdev.h"
#include "hostile_evdev.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int g_reads = 0;
int g_error = 0;

bool IsPipe(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

using Event = std::tuple<int, int, int>;

HostileDevice PadOfOneStick() {
    HostileDevice pad;
    pad.name = "Pad";
    pad.keys.set(BTN_SOUTH).set(BTN_EAST).set(BTN_WEST);
    pad.axes[ABS_X] = pad.axes[ABS_Y] = input_absinfo{0, -32768, 32767, 0, 0, 0};
    return pad;
}

std::string Bytes(int type, int code, int value) {
    const input_event event{{}, static_cast<__u16>(type), static_cast<__u16>(code), value};
    return {reinterpret_cast<const char*>(&event), sizeof event};
}

/// A pad that is read from when it holds its third button and its stick is to the left.
class Reading : public testing::Test {
protected:
    Reading() : device_(PadOfOneStick()) {
        g_reads = g_error = 0;
        device_.held.set(BTN_WEST);
        device_.axes[ABS_X]->value = -100;
        evdev_ = gamepad::OpenEvdev(kernel_.Path());
        reader_.emplace(evdev_.fd.Get(), evdev_.device.get());
    }

    void Send(int type, int code, int value) { kernel_.Send(Bytes(type, code, value)); }
    void SendFrames(int count) {
        for (int i = 0; i < count; ++i) {
            Send(EV_ABS, ABS_X, i);
            Send(EV_SYN, SYN_REPORT, 0);
        }
    }
    void Overrun() { Send(EV_SYN, SYN_DROPPED, 0); }

    std::vector<Event> Drain() {
        std::vector<Event> told;
        g_reads = 0;
        error_ = reader_->Drain(
            [&told](const input_event& event) { told.emplace_back(event.type, event.code, event.value); });
        return told;
    }

    HostileDevice device_;
    HostileEvdev kernel_{device_};
    gamepad::Evdev evdev_;
    std::optional<gamepad::EventReader> reader_;
    int error_ = 0;
};

TEST_F(Reading, TellsEventsOfKeysAndAxesInOrder) {
    Send(EV_MSC, MSC_SCAN, 1);
    Send(EV_KEY, BTN_SOUTH, 1);
    Send(EV_SYN, SYN_REPORT, 0);
    Send(EV_ABS, ABS_X, 7);
    Send(EV_KEY, BTN_SOUTH, 0);
    EXPECT_THAT(Drain(),
                ElementsAre(Event(EV_KEY, BTN_SOUTH, 1), Event(EV_ABS, ABS_X, 7), Event(EV_KEY, BTN_SOUTH, 0)));
    EXPECT_EQ(error_, 0);
}

TEST_F(Reading, AsksTheKernelOnceWhereThatIsEnough) {
    EXPECT_THAT(Drain(), IsEmpty());
    EXPECT_EQ(g_reads, 1);
    SendFrames(20);
    EXPECT_EQ(Drain().size(), 20U);
    EXPECT_EQ(g_reads, 1);
}

TEST_F(Reading, GoesOnUntilThereIsNothingLeft) {
    SendFrames(500);
    EXPECT_EQ(Drain().size(), 500U);
    EXPECT_THAT(Drain(), IsEmpty());
}

TEST_F(Reading, SaysWhyItEnds) {
    g_error = ENODEV;
    EXPECT_THAT(Drain(), IsEmpty());
    EXPECT_EQ(error_, ENODEV);
    g_error = EINTR;
    EXPECT_THAT(Drain(), IsEmpty());
    EXPECT_EQ(error_, 0);
}

TEST_F(Reading, EndsWhereEventsAreCutInTheMiddle) {
    Send(EV_KEY, BTN_SOUTH, 1);
    kernel_.Send(Bytes(EV_KEY, BTN_SOUTH, 0).substr(0, 10));
    EXPECT_THAT(Drain(), ElementsAre(Event(EV_KEY, BTN_SOUTH, 1)));
    EXPECT_EQ(error_, EINVAL);
}

TEST_F(Reading, TellsWhatDiffersAfterAnOverrun) {
    Send(EV_KEY, BTN_SOUTH, 1);
    Send(EV_ABS, ABS_Y, 9);
    Drain();
    Overrun();
    Send(EV_KEY, BTN_SOUTH, 0);  // nobody knows what came before it
    Send(EV_ABS, ABS_X, 1);
    device_.held.set(BTN_EAST);
    device_.axes[ABS_X]->value = 500;
    EXPECT_THAT(Drain(), ElementsAre(Event(EV_KEY, BTN_SOUTH, 0), Event(EV_KEY, BTN_EAST, 1), Event(EV_ABS, ABS_X, 500),
                                     Event(EV_ABS, ABS_Y, 0)));
    EXPECT_THAT(Drain(), IsEmpty());
}

TEST_F(Reading, TellsNothingAfterAnOverrunThatLostNothing) {
    Overrun();
    EXPECT_THAT(Drain(), IsEmpty());
    Send(EV_KEY, BTN_WEST, 0);
    EXPECT_THAT(Drain(), ElementsAre(Event(EV_KEY, BTN_WEST, 0)));
}

TEST_F(Reading, TellsWhatCameBeforeAnOverrun) {
    device_.held.set(BTN_SOUTH);
    Send(EV_KEY, BTN_SOUTH, 1);
    Overrun();
    EXPECT_THAT(Drain(), ElementsAre(Event(EV_KEY, BTN_SOUTH, 1)));
}

TEST_F(Reading, LeavesNothingFromBehindAnOverrunForLater) {
    for (int frames = 0; frames < 200; ++frames) {
        SendFrames(frames);
        Drain();
        Overrun();
        SendFrames(frames);
        device_.axes[ABS_X]->value = 1000 + frames;
        ASSERT_THAT(Drain(), ElementsAre(Event(EV_ABS, ABS_X, 1000 + frames))) << frames;
        ASSERT_THAT(Drain(), IsEmpty());
    }
}

TEST_F(Reading, SaysWhyItGetsNoStateAfterAnOverrun) {
    device_.axes[ABS_Y].reset();  // asked about it, the device answers EINVAL
    Overrun();
    EXPECT_THAT(Drain(), IsEmpty());
    EXPECT_EQ(error_, EINVAL);
}

}  // namespace

/// Comes before the C library's for everything in this program.
extern "C" ssize_t read(int fd, void* buffer, size_t size) {
    if (IsPipe(fd)) {
        ++g_reads;
        if (g_error != 0) {
            errno = g_error;
            return -1;
        }
    }
    return syscall(SYS_read, fd, buffer, size);
}
