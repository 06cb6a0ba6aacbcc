/// The whole service on a thread of this process; what it would do is caught (caught.h).
#pragma once

#include <atomic>
#include <thread>

namespace doctor {

/// One at a time, and no second one in a process.
class ServiceThread {
public:
    ServiceThread();
    ~ServiceThread();  ///< ends it in good order
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    bool HasEnded() const { return has_ended_; }

private:
    std::atomic<bool> has_ended_{false};
    std::thread thread_;
};

}  // namespace doctor
