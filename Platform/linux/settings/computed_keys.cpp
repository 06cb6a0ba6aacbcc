#include "settings/computed_keys.h"

#include <mutex>
#include <vector>

namespace {

struct Registry {
    std::mutex lock;
    std::vector<ComputedKey*> keys;
};

// Made when the first part asks, whichever that is, and never destroyed: watches may end while the program does.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

}  // namespace

ComputedKey::ComputedKey(const char* key, void (*start)(), void (*stop)()) : key_(key), start_(start), stop_(stop) {
    TheRegistry().keys.push_back(this);
}

void BeginWatch(const std::string& key) {
    const std::lock_guard<std::mutex> lock(TheRegistry().lock);
    for (ComputedKey* computed : TheRegistry().keys) {
        if (computed->key_ == key && computed->watches_++ == 0) {
            computed->start_();
        }
    }
}

void EndWatch(const std::string& key) {
    const std::lock_guard<std::mutex> lock(TheRegistry().lock);
    for (ComputedKey* computed : TheRegistry().keys) {
        if (computed->key_ == key && --computed->watches_ == 0) {
            computed->stop_();
        }
    }
}
