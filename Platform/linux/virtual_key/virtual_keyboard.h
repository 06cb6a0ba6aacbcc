/// The rules that hold wherever the keys go.
#pragma once

#include <bitset>
#include <memory>
#include <set>

#include "virtual_key/key_codes.h"
#include "virtual_key/key_sink.h"

/// Refuses what is no key, tells each trouble once, remembers which keys are down and releases them in the end.
///
/// Threads  one at a time.
/// Errors   0, or a negative errno.
class VirtualKeyboard {
public:
    explicit VirtualKeyboard(std::unique_ptr<KeySink> sink) : sink_(std::move(sink)) {}
    ~VirtualKeyboard();
    VirtualKeyboard(const VirtualKeyboard&) = delete;
    VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;

    /// -EINVAL for a code that can be no key and for an unknown action.
    int Send(int platformCode, int action);

private:
    static constexpr int kCodes = 1024;  // above every platform code that can be a key

    bool IsKey(int platformCode);
    void TellTrouble(int platformCode, int result);

    std::unique_ptr<KeySink> sink_;
    std::bitset<kCodes> down_;
    std::set<int> refused_;
    bool inTrouble_ = false;
};
