#include "virtual_key/event_writer.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <future>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/virtual_key.h"

namespace {

using ::testing::ElementsAre;
using Event = std::tuple<int, int, int>;

const Event kSync{EV_SYN, SYN_REPORT, 0};

// A pipe in the place of the device: what is written can be read back.
class AnEventWriter : public ::testing::Test {
protected:
    AnEventWriter() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
    ~AnEventWriter() override {
        close(ends_[0]);
        close(ends_[1]);
    }

    std::vector<Event> ReadWhatIsThere() {
        std::array<input_event, 64> buffer;
        const ssize_t size = read(ends_[0], buffer.data(), sizeof buffer);
        EXPECT_EQ(size % static_cast<ssize_t>(sizeof(input_event)), 0);
        std::vector<Event> events;
        for (size_t i = 0; size > 0 && i < static_cast<size_t>(size) / sizeof(input_event); ++i) {
            events.emplace_back(buffer[i].type, buffer[i].code, buffer[i].value);
        }
        return events;
    }

    void FillThePipe() {
        fcntl(ends_[1], F_SETFL, O_NONBLOCK);
        const std::array<char, 4096> page{};
        while (write(ends_[1], page.data(), page.size()) > 0) {
        }
    }

    int ends_[2];
};

TEST_F(AnEventWriter, PressesAndSynchronises) {
    EXPECT_EQ(EventWriter(ends_[1]).Send(36, KEY_ACTION_PRESS), 0);
    EXPECT_THAT(ReadWhatIsThere(), ElementsAre(Event(EV_KEY, KEY_ENTER, 1), kSync));
}

TEST_F(AnEventWriter, ReleasesAndSynchronises) {
    EXPECT_EQ(EventWriter(ends_[1]).Send(572, KEY_ACTION_RELEASE), 0);
    EXPECT_THAT(ReadWhatIsThere(), ElementsAre(Event(EV_KEY, 564, 0), kSync));
}

TEST_F(AnEventWriter, SynchronisesBetweenThePressAndTheReleaseOfOneCall) {
    EXPECT_EQ(EventWriter(ends_[1]).Send(9, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    EXPECT_THAT(ReadWhatIsThere(), ElementsAre(Event(EV_KEY, KEY_ESC, 1), kSync, Event(EV_KEY, KEY_ESC, 0), kSync));
}

TEST_F(AnEventWriter, GivesUpOnADeviceThatTakesNothing) {
    FillThePipe();
    EXPECT_EQ(EventWriter(ends_[1]).Send(36, KEY_ACTION_PRESS), -EAGAIN);
}

TEST_F(AnEventWriter, WaitsForADeviceThatIsBusyForAMoment) {
    FillThePipe();
    std::promise<void> started;
    std::thread reader([this, &started] {
        std::array<char, 65536> buffer;
        started.set_value();
        EXPECT_GT(read(ends_[0], buffer.data(), buffer.size()), 0);
    });
    started.get_future().wait();
    EXPECT_EQ(EventWriter(ends_[1]).Send(36, KEY_ACTION_PRESS), 0);
    reader.join();
}

TEST_F(AnEventWriter, TellsWhyItFailed) {
    EXPECT_EQ(EventWriter(ends_[0]).Send(36, KEY_ACTION_PRESS), -EBADF);
    EXPECT_EQ(EventWriter(-1).Send(36, KEY_ACTION_PRESS), -EBADF);
}

void OnAlarm(int) {}

TEST_F(AnEventWriter, IsNotDisturbedBySignals) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = OnAlarm;  // without SA_RESTART
    sigaction(SIGALRM, &action, &before);
    const itimerval often{{0, 200}, {0, 200}};
    constexpr int kKeys = 2000;
    constexpr size_t kEvents = size_t{4} * kKeys;
    size_t read = 0;
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &none);  // inherited by the reader, so that each signal comes to the writer
    std::thread reader([this, &read] {
        while (read < kEvents) {
            read += ReadWhatIsThere().size();
        }
    });
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    setitimer(ITIMER_REAL, &often, nullptr);
    for (int i = 0; i < kKeys; ++i) {
        EXPECT_EQ(EventWriter(ends_[1]).Send(36, KEY_ACTION_AUTO_PRESS_RELEASE), 0);
    }
    reader.join();
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(read, kEvents);
}

}  // namespace
