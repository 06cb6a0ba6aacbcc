#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "CallRecorder.h"

/// One key as VirtualKey_Send_KeyCode received it.
struct SentKey {
    int code;
    int action;
    std::string thread;
};
void PrintTo(const SentKey& key, std::ostream* out);

/// EXPECT_THAT(platform.TakeKeys(), ElementsAre(Pressed(113), Released(113), Tapped(71)))
inline SentKey Released(int code) {
    return {code, 0, ""};
}
inline SentKey Pressed(int code) {
    return {code, 1, ""};
}
inline SentKey Tapped(int code) {
    return {code, 2, ""};
}  ///< a whole press and release in one call
bool operator==(const SentKey& one, const SentKey& other);  ///< whatever the thread

/// The virtual-key library.
///
/// Strict: keys only between Initialize and Finalize; no second press of a held key, no release of one that is not
/// held, no other action than 0, 1 and 2. A key still held at Finalize is the library's business.
class FakeKeys {
public:
    explicit FakeKeys(CallRecorder& recorder) : recorder_(recorder) {}

    std::vector<SentKey> TakeKeys();
    std::vector<SentKey> Keys() const;  ///< those not taken yet
    bool WaitForKeys(size_t count, std::chrono::milliseconds atMost = kSoon) const;
    std::set<int> KeysDown() const;

    int OnInitialize(const char* client);
    int OnSend(int code, int action);
    void OnFinalize();

protected:
    void AppendKeyLeftovers(std::vector<std::string>& leftovers) const;

private:
    void NoteLocked(int code, int action);

    CallRecorder& recorder_;
    bool initialized_ = false;
    std::set<int> down_;
    std::vector<SentKey> keys_;
};
