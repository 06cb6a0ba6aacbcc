/// Keys as lines of text, for a look at what a pad does without any rights.
#pragma once

#include "log/line_writer.h"
#include "virtual_key/key_sink.h"

/// One line for each action, written at once: name, platform code, and "press", "release" or "press+release", as in
/// "KEY_ENTER 36 press". Does not own the descriptor.
class PrintSink final : public KeySink {
public:
    explicit PrintSink(int fd) : lines_(fd) {}

    int Send(int platformCode, int action) override;

private:
    LineWriter lines_;
};
