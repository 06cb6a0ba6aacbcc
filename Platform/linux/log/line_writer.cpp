#include "log/line_writer.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace {

// While a line is written no signal reaches this thread: nothing is interrupted half-way, a handler cannot wait for the
// lock that its own thread holds, and the SIGPIPE of a closed pipe can be taken back before it ends the process.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

    // Only for the caller that has just seen EPIPE: the signal is its own.
    void TakeBackSigpipe() const {
        if (sigismember(&before_, SIGPIPE) == 1) {
            return;  // blocked by the thread itself, which may be waiting for it
        }
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        const timespec now{};
        sigtimedwait(&pipe, nullptr, &now);
    }

private:
    sigset_t before_;
};

}  // namespace

bool LineWriter::Write(const char* line, size_t length) {
    const int callersErrno = errno;
    const SignalsBlocked signals;
    const Hold lock(mutex_);
    errno = 0;
    if (lost_ > 0 && WaitForRoomLocked()) {
        TellLostLocked();
    }
    const bool written = lost_ == 0 && WriteLocked(line, length);
    if (!written) {
        ++lost_;
        if (errno == EPIPE) {
            signals.TakeBackSigpipe();
        }
    }
    errno = callersErrno;
    return written;
}

bool LineWriter::WriteLocked(const char* line, size_t length) {
    while (length > 0) {
        if (!WaitForRoomLocked()) {
            return false;
        }
        const ssize_t written = write(fd_, line, length);
        if (written < 0) {
            return false;
        }
        line += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

// A blocking descriptor is asked first, too: a pipe that polls writable takes PIPE_BUF bytes without a wait.
bool LineWriter::WaitForRoomLocked() const {
    pollfd room{fd_, POLLOUT, 0};
    return poll(&room, 1, lost_ == 0 ? kPatienceMs : 0) == 1;
}

void LineWriter::TellLostLocked() {
    char line[80];
    const int length = std::snprintf(line, sizeof line, "(lines lost, since nobody read them: %lu)\n", lost_);
    const unsigned long lost = lost_;
    lost_ = 0;
    if (!WriteLocked(line, static_cast<size_t>(length))) {
        lost_ = lost;
    }
}
