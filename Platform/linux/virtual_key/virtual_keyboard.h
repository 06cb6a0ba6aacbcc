/// The rules that hold wherever the keys go.
#pragma once

#include <array>
#include <memory>
#include <set>
#include <utility>

#include "virtual_key/key_map.h"
#include "virtual_key/key_sink.h"

/// Sends the user's keys in the place of others, refuses what is no key, tells each trouble once, remembers which keys
/// are down and releases them in the end. While a key is down it stays the one that it was pressed as, whatever the
/// user changes meanwhile.
///
/// Threads  one at a time.
/// Errors   0, or a negative errno.
class VirtualKeyboard {
public:
    VirtualKeyboard(std::unique_ptr<KeySink> sink, std::shared_ptr<const KeyMap> map)
        : sink_(std::move(sink)), map_(std::move(map)) {}
    ~VirtualKeyboard();
    VirtualKeyboard(const VirtualKeyboard&) = delete;
    VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;

    /// -EINVAL for a code that can be no key and for an unknown action.
    int Send(int platformCode, int action);

private:
    static constexpr int kCodes = 1024;  // above every platform code that can be a key
    static constexpr int kUp = 0;

    int SentFor(int platformCode) const;
    bool IsKey(int platformCode, int sent);
    void TellTrouble(int platformCode, int result);

    std::unique_ptr<KeySink> sink_;
    const std::shared_ptr<const KeyMap> map_;
    std::array<int, kCodes> downAs_{};  // what is down for each platform code
    std::set<int> refused_;
    bool inTrouble_ = false;
};
