#include "FakeApps.h"

#include <algorithm>
#include <cstring>

void FakeApps::SetApp(int pid, const std::string& appId, int status) {
    const auto lock = recorder_.Lock();
    apps_[pid] = {appId, status};
}

void FakeApps::RemoveApp(int pid) {
    const auto lock = recorder_.Lock();
    apps_.erase(pid);
}

void FakeApps::SendAppStatus(int pid, int status) {
    thread_.Post([this, pid, status] {
        auto lock = recorder_.Lock();
        const aul_app_status_fn handler = handler_;
        void* const data = data_;
        lock.unlock();
        if (handler != nullptr && handler(pid, status, data) != 0) {
            lock.lock();
            recorder_.ViolateLocked("an application status callback does not return 0");
        }
    });
}

int FakeApps::OnListen(aul_app_status_fn handler, void* data) {
    const auto effect = [&] {
        if ((handler == nullptr) == (handler_ == nullptr)) {
            recorder_.ViolateLocked(handler == nullptr ? "left app status without listening" : "second app listener");
        }
        handler_ = handler;
        data_ = data;
        return 0;
    };
    const int result =
        recorder_.Run("aul_listen_app_status_signal", {PointerText(handler != nullptr), PointerText(data != nullptr)},
                      kZeroIsSuccess, effect);
    if (handler == nullptr && !thread_.WaitUntilIdle(kSoon)) {
        const auto lock = recorder_.Lock();
        recorder_.ViolateLocked("an application status callback does not return");
    }
    return result;
}

int FakeApps::OnAppId(int pid, char* appId, int length) {
    const auto effect = [&] {
        const auto found = apps_.find(pid);
        if (found == apps_.end()) {
            return -1;
        }
        const std::string& id = found->second.id;
        const size_t room = static_cast<size_t>(length);
        memcpy(appId, id.c_str(), std::min(id.size() + 1, room));
        return 0;
    };
    return recorder_.RunWithAll(appId != nullptr, "aul_app_get_appid_bypid",
                                {ArgumentText(pid), PointerText(appId != nullptr), ArgumentText(length)},
                                kZeroIsSuccess, effect);
}

int FakeApps::OnStatus(const char* appId) {
    const Convention any_status{-2, -1};
    return recorder_.RunWithAll(appId != nullptr, "aul_app_get_status", {ArgumentText(appId)}, any_status, [&] {
        const auto found =
            std::find_if(apps_.begin(), apps_.end(), [&](const auto& app) { return app.second.id == appId; });
        return found == apps_.end() ? -1 : found->second.status;
    });
}

void FakeApps::AppendAppLeftovers(std::vector<std::string>& leftovers) const {
    const auto lock = recorder_.Lock();
    if (handler_ != nullptr) {
        leftovers.emplace_back("app status listener");
    }
}
