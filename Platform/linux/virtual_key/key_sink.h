/// Where the virtual keys go.
#pragma once

/// Owner    the VirtualKeyboard; one thread at a time.
/// Errors   0, or a negative errno; nothing throws.
class KeySink {
public:
    KeySink() = default;
    KeySink(const KeySink&) = delete;
    KeySink& operator=(const KeySink&) = delete;
    virtual ~KeySink() = default;

    /// Delivers one action on one key, whole: a KEY_ACTION_AUTO_PRESS_RELEASE is not parted by another key.
    /// Both are valid; never waits for whoever reads the keys.
    virtual int Send(int platformCode, int action) = 0;
};
