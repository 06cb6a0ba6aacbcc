#include "settings/computed_keys.h"

#include <vector>

namespace {

// Made when the first part asks, whichever that is, and never destroyed: watches may end while the program does. Filled
// before the program has threads.
std::vector<ComputedKey*>& TheKeys() {
    static std::vector<ComputedKey*>& keys = *new std::vector<ComputedKey*>;
    return keys;
}

}  // namespace

ComputedKey::ComputedKey(const char* key, void (*start)(), void (*stop)()) : key_(key), start_(start), stop_(stop) {
    TheKeys().push_back(this);
}

void BeginWatch(const std::string& key) {
    for (ComputedKey* computed : TheKeys()) {
        if (computed->key_ == key) {
            const Hold lock(computed->lock_);
            if (computed->watches_++ == 0) {
                computed->start_();
            }
        }
    }
}

void EndWatch(const std::string& key) {
    for (ComputedKey* computed : TheKeys()) {
        if (computed->key_ == key) {
            const Hold lock(computed->lock_);
            if (--computed->watches_ == 0) {
                computed->stop_();
            }
        }
    }
}
