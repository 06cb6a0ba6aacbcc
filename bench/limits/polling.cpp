// The least that a remote can cost that looks every 50 ms, as ours does: one read for each pass, one pad, one key.
//   polling NODE
#include <signal.h>

#include "keyboard.h"

namespace {

constexpr useconds_t kPauseUs = 50000;

volatile sig_atomic_t ended = 0;

void End(int /*signal*/) {
    ended = 1;
}

void Serve(int pad, int keyboard) {
    while (ended == 0 && AnswerAll(pad, keyboard)) {
        usleep(kPauseUs);
    }
}

}  // namespace

int main(int count, char** words) {
    const int pad = count == 2 ? open(words[1], O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    const int keyboard = OpenKeyboard();
    if (pad < 0 || keyboard < 0) {
        std::perror("polling NODE");
        return 1;
    }
    signal(SIGTERM, End);
    Serve(pad, keyboard);
    return 0;
}
