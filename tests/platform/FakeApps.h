#pragma once

#include <platform/aul.h>

#include <map>
#include <string>
#include <vector>

#include "CallRecorder.h"
#include "LibraryThread.h"

/// Application status. No application runs at first; status 2 is "focused".
/// Signals come on the thread "aul-lib". Unregistering waits for the signal that is being delivered.
/// Strict: one listener at a time, who answers 0, and only he leaves.
class FakeApps {
public:
    explicit FakeApps(CallRecorder& recorder) : recorder_(recorder), thread_("aul-lib") {}

    /// An id that is as long as the caller's buffer, or longer, fills it and then has no end there.
    void SetApp(int pid, const std::string& appId, int status);
    void RemoveApp(int pid);
    void SendAppStatus(int pid, int status);
    bool WaitUntilAppStatusTold(std::chrono::milliseconds atMost = kSoon) const {
        return thread_.WaitUntilIdle(atMost);
    }

    int OnListen(aul_app_status_fn handler, void* data);
    int OnAppId(int pid, char* appId, int length);
    int OnStatus(const char* appId);

protected:
    void AppendAppLeftovers(std::vector<std::string>& leftovers) const;
    LibraryThread& AppThread() { return thread_; }

private:
    struct App {
        std::string id;
        int status;
    };

    CallRecorder& recorder_;
    std::map<int, App> apps_;
    aul_app_status_fn handler_ = nullptr;
    void* data_ = nullptr;
    LibraryThread thread_;
};
