#ifndef EVENTHANDLER_APPLAUNCHER_H
#define EVENTHANDLER_APPLAUNCHER_H

#include <cstdint>
#include <istream>
#include <map>
#include <string>

#include "CThread/CSemaphore.h"
#include "platform/was.h"

namespace Json {
class Value;
}

/// One binding of the app configuration file.
struct _LaunchAppInfo {
    std::string strRunTitle;  ///< the store's run title; an empty one disables the binding
    std::string strReserved;  ///< always empty
    int32_t iVirtualKey = 0;  ///< sent when the launch goes ahead, and when the terms are not accepted
};

/// Buttons that open a store application: loads the bindings once, looks a pressed button's title up and sends the
/// bound virtual key; it never starts an application itself.
///
/// Threads  LaunchAppCheck on the dispatcher's thread, which it blocks, without limit, until the app-store manager has
///          answered; the answer arrives on a thread of that library and is published by m_semAppIdSync. The map is
///          written by Initialize only, before any event, and read without a lock.
/// Errors   whatever is wrong with the file is logged; the bindings that were read before it hold. Nothing throws.
class AppLauncher {
public:
    AppLauncher();
    ~AppLauncher();
    AppLauncher(const AppLauncher&) = delete;
    AppLauncher& operator=(const AppLauncher&) = delete;

    /// False only when the semaphore cannot be created.
    bool Initialize();
    /// The bindings are kept.
    void DeInitialize();

    /// True when the press was used for a launch.
    bool LaunchAppCheck(int keyCode);

private:
    void m_LoadAllAppConfigInfo();
    void m_LoadFile(const std::string& path);
    void m_StoreEntries(Json::Value& root);
    void m_StoreEntry(Json::Value& element, unsigned index);
    /// STATUS_SUCCESS and a copy, or STATUS_FAILURE and `info` untouched.
    int m_GetAppInfoWithKeyCode(int keyCode, _LaunchAppInfo& info) const;
    bool m_HandleLaunchAppEvent(const _LaunchAppInfo& info);
    bool m_RunApp(const _LaunchAppInfo& info);
    void m_RequestAppIdByRunTitle(const char* runtitle);
    static void m_WASRequestAppIdCallback(const char* app_id, was_app_status_e status, const char* etag,
                                          void* user_data);
    void m_StoreAnswer(const char* appId, was_app_status_e status, const char* etag);

    was_app_status_e m_eAppStatus = 1;
    std::string m_strAppId;
    std::string m_strEtag;  ///< of the last answer; goes with the next query, never cleared
    CSemaphore m_semAppIdSync;
    std::map<int32_t, _LaunchAppInfo> m_mAppConfigInfoMap;
};

#endif
