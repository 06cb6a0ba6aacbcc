/// What callbacks told, for a test that waits for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

/// Threads  any.
template <typename Item>
class Told {
public:
    static constexpr std::chrono::seconds kSoon{30};

    void Add(const Item& item) {
        const std::lock_guard<std::mutex> hold(lock_);
        items_.push_back(item);
        changed_.notify_all();
    }
    std::vector<Item> All() const {
        const std::lock_guard<std::mutex> hold(lock_);
        return items_;
    }
    void Forget() {
        const std::lock_guard<std::mutex> hold(lock_);
        items_.clear();
    }
    bool WaitUntil(const std::function<bool(const std::vector<Item>&)>& holds) {
        std::unique_lock<std::mutex> hold(lock_);
        return changed_.wait_for(hold, kSoon, [&] { return holds(items_); });
    }
    bool WaitFor(const Item& last) {
        return WaitUntil([&](const std::vector<Item>& items) { return !items.empty() && items.back() == last; });
    }
    bool WaitForAll(const std::vector<Item>& all) {
        return WaitUntil([&](const std::vector<Item>& items) { return items == all; });
    }

private:
    mutable std::mutex lock_;
    std::condition_variable changed_;
    std::vector<Item> items_;
};
