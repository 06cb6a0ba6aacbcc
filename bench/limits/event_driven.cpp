// The least that a remote can cost: it sleeps until the kernel has something, and knows one pad and one key.
//   event_driven NODE
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>

#include "keyboard.h"

namespace {

// As a descriptor, so that one call waits for the pad and for the end.
int WatchSignals() {
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);
    return signalfd(-1, &end, SFD_CLOEXEC);
}

void Serve(int pad, int keyboard, int signals) {
    pollfd sources[] = {{pad, POLLIN, 0}, {signals, POLLIN, 0}};
    while (poll(sources, 2, -1) > 0 && sources[1].revents == 0 && AnswerAll(pad, keyboard)) {
    }
}

}  // namespace

int main(int count, char** words) {
    const int pad = count == 2 ? open(words[1], O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    const int keyboard = OpenKeyboard();
    if (pad < 0 || keyboard < 0) {
        std::perror("event_driven NODE");
        return 1;
    }
    Serve(pad, keyboard, WatchSignals());
    return 0;
}
