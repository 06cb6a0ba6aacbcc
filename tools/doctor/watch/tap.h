/// Follows the service from outside: which event it handles, and what it does and says meanwhile.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "caught.h"
#include "watch/outcome.h"

namespace doctor {

/// Threads  any.
class Tap : public Catcher {
public:
    void OnMessage(const Message& message) override;
    void OnKey(const SentKey& key) override;
    void OnOpened(int device, const std::string& uid) override;
    void OnTaken(int device, int count) override;

    /// What has been handled since the last call, in order.
    std::vector<Handled> Take();
    /// The uids of the pads that have been opened since the last call.
    std::vector<std::string> TakeOpened();
    bool IsMenuMode() const;
    std::string UidOf(int device) const;  ///< empty: not open
    std::string LastError() const;        ///< that may have ended the service; empty: none

private:
    bool IsDispatcher() const { return std::this_thread::get_id() == dispatcher_; }
    bool BeginsEvent(const std::string& text);
    void FollowEnd(const Message& message);
    void FollowMenuMode(const std::string& text);
    void FinishLocked();

    mutable std::mutex lock_;
    std::thread::id dispatcher_;  // the thread that takes events
    int device_ = -1;
    std::optional<Handled> open_;
    std::vector<Handled> handled_;
    std::map<int, std::string> uids_;
    std::vector<std::string> opened_;
    int held_ = -1;
    bool is_menu_mode_ = true;
    bool is_ending_ = false;
    std::string last_error_;
};

}  // namespace doctor
