#include "AppLauncher.h"

#include <json/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <fstream>

#include "CVConf.h"
#include "Log.h"
#include "Utf8.h"
#include "Utils.h"
#include "platform/tzplatform_config.h"
#include "platform/virtual_key.h"

namespace {

constexpr int APPLICATIONS_DIRECTORY = 27;  // tzplatform_getenv: where application packages are installed
constexpr int DATA_DIRECTORY = 77;          // tzplatform_getenv: the service's own data

constexpr was_app_status_e STATUS_INSTALLED = 0;
constexpr was_app_status_e STATUS_NOT_INSTALLED = 1;
constexpr was_app_status_e STATUS_UNKNOWN_ERROR = 2;
constexpr was_app_status_e STATUS_NOT_SUPPORTED = 3;

std::string PathBelow(int directory, const char* tail) {
    const char* path = tzplatform_getenv(directory);
    return std::string(path != nullptr ? path : "") + tail;
}

bool Exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// A directory can be opened and a pipe would wait for a writer; neither is a file to read.
bool OpenFile(const std::string& path, std::ifstream& file) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    file.open(path, std::ios::binary);
    return file.is_open();
}

// The reader throws where a document is nested too deep, and takes bytes that are no text: neither can be read.
bool ParseDocument(std::istream& document, Json::Value& root, std::string& error) {
    try {
        if (!IsUtf8(document, error)) {
            return false;
        }
        document.clear();
        document.seekg(0);
        const Json::CharReaderBuilder builder;
        return Json::parseFromStream(builder, document, &root, &error);
    } catch (const std::exception& exception) {
        error = exception.what();
        return false;
    }
}

// As the C library shows a text that is not there, which it does by its own grace.
const char* Shown(const char* text) {
    return text != nullptr ? text : "(null)";
}

bool IsKnownTitleStatus(was_app_status_e status) {
    return status == STATUS_INSTALLED || status == STATUS_NOT_INSTALLED;
}

}  // namespace

AppLauncher::AppLauncher() {
    LOGI("Constructor is called");
}

AppLauncher::~AppLauncher() {
    LOGI("Destructor is called");
    DeInitialize();
}

bool AppLauncher::Initialize() {
    m_LoadAllAppConfigInfo();
    return m_semAppIdSync.Create(0);
}

void AppLauncher::DeInitialize() {
    if (m_semAppIdSync.FlagCreate()) {
        m_semAppIdSync.Destroy();
    }
}

void AppLauncher::m_LoadAllAppConfigInfo() {
    try {
        const std::string defaultPath = PathBelow(DATA_DIRECTORY, "/accessory/app_config.json");
        const std::string appPath = PathBelow(APPLICATIONS_DIRECTORY, "/org.tizen.accessory/res/wgt/app_config.json");
        if (Exists(appPath)) {
            m_LoadFile(appPath);
            return;
        }
        LOGI("[%s] doesn't exist", appPath.c_str());
        if (Exists(defaultPath)) {
            m_LoadFile(defaultPath);
            return;
        }
        LOGE("Default[%s] doesn't exist", defaultPath.c_str());
    } catch (const std::exception& exception) {
        LOGE("Exception[%s]", exception.what());
    }
}

void AppLauncher::m_LoadFile(const std::string& path) {
    constexpr char OPERATION[] = "m_LoadAllAppConfigInfo";
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "sConfigureFilePath[%s]", path.c_str());
    std::ifstream file;
    if (!OpenFile(path, file)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Open[%s]err", path.c_str());
        return;
    }
    Json::Value root;
    std::string error;
    if (!ParseDocument(file, root, error)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Parse json file err[%s]", error.c_str());
        return;
    }
    m_StoreEntries(root);
}

void AppLauncher::m_StoreEntries(Json::Value& root) {
    Json::Value& list = root["global_config"];
    const Json::ArrayIndex count = list.size();
    LOG_AS("m_LoadAllAppConfigInfo", __LINE__, DLOG_INFO, "[config_list]size[%d]", static_cast<int>(count));
    for (Json::ArrayIndex i = 0; i < count; ++i) {
        m_StoreEntry(list[i], i);
    }
}

void AppLauncher::m_StoreEntry(Json::Value& element, unsigned index) {
    _LaunchAppInfo info;
    const int32_t keyCode = element["key_code"].asInt();
    info.strRunTitle = element["runtitle"].asString();
    info.iVirtualKey = element["virtual_key"].asInt();
    const _LaunchAppInfo& stored = m_mAppConfigInfoMap[keyCode] = info;
    LOG_AS("m_LoadAllAppConfigInfo", __LINE__, DLOG_INFO, "global_config list[%d]'s [%d, %s, %d]",
           static_cast<int>(index), keyCode, stored.strRunTitle.c_str(), stored.iVirtualKey);
}

bool AppLauncher::LaunchAppCheck(int keyCode) {
    LOGI("Call[LaunchAppCheck]with[%d]", keyCode);
    try {
        _LaunchAppInfo info;
        if (m_GetAppInfoWithKeyCode(keyCode, info) != STATUS_SUCCESS || info.strRunTitle.empty()) {
            return false;
        }
        return m_RunApp(info);
    } catch (const std::exception& exception) {
        LOGE("Exception[%s]", exception.what());
        return false;
    }
}

int AppLauncher::m_GetAppInfoWithKeyCode(int keyCode, _LaunchAppInfo& info) const {
    const auto entry = m_mAppConfigInfoMap.find(keyCode);
    if (entry == m_mAppConfigInfoMap.end()) {
        return STATUS_FAILURE;
    }
    info = entry->second;
    LOGI("find[%d]in[m_mAppConfigInfoMap]runtitle[%s]", keyCode, info.strRunTitle.c_str());
    return STATUS_SUCCESS;
}

bool AppLauncher::m_HandleLaunchAppEvent(const _LaunchAppInfo& info) {
    return m_RunApp(info);
}

bool AppLauncher::m_RunApp(const _LaunchAppInfo& info) {
    LOGI("Call[m_RunApp]with[%s]", info.strRunTitle.c_str());
    m_eAppStatus = STATUS_NOT_INSTALLED;
    m_strAppId.clear();
    if (!CVConf::IsPolicyAccpted()) {
        // The platform shows its notice on this key by itself.
        LOGI("Sent Virtual key code[%d] to popup notify message!", info.iVirtualKey);
        VirtualKey_Send_KeyCode(info.iVirtualKey, KEY_ACTION_AUTO_PRESS_RELEASE);
        return true;
    }
    m_RequestAppIdByRunTitle(info.strRunTitle.c_str());
    if (!IsKnownTitleStatus(m_eAppStatus) || m_strAppId.empty()) {
        return false;
    }
    LOGI("Sent Virtual key code[%d]to[Context-Manager]", info.iVirtualKey);
    VirtualKey_Send_KeyCode(info.iVirtualKey, KEY_ACTION_AUTO_PRESS_RELEASE);
    return true;
}

void AppLauncher::m_RequestAppIdByRunTitle(const char* runtitle) {
    if (!m_semAppIdSync.FlagCreate()) {
        // An answer that nobody can wait for would be written while the launch goes on.
        LOGE("[%s] is not asked for: there is no semaphore to wait on", runtitle);
        return;
    }
    // A copy: the answer may replace the tag before the library has returned.
    const std::string etag = m_strEtag;
    const int result = was_request_appid_by_runtitle(runtitle, etag.c_str(), m_WASRequestAppIdCallback, this);
    if (result != 0) {
        LOGE("Call[was_request_appid_by_runtitle]ret[%d]", result);
        return;
    }
    LOGI("Wait to get AppID...");
    m_semAppIdSync.Take();
    LOGI("Finish getting AppID");
}

void AppLauncher::m_WASRequestAppIdCallback(const char* app_id, was_app_status_e status, const char* etag,
                                            void* user_data) {
    LOGI("AppId[%s]AppStatus[%d]etag_string[%s]", Shown(app_id), status, Shown(etag));
    if (user_data == nullptr) {
        LOGE("[user_data]NULL");
        return;
    }
    auto* self = static_cast<AppLauncher*>(user_data);
    try {
        self->m_StoreAnswer(app_id != nullptr ? app_id : "", status, etag != nullptr ? etag : "");
    } catch (const std::exception& exception) {
        LOGE("Exception[%s]", exception.what());
    }
    LOGI("m_semAppIdSync.Give()");
    self->m_semAppIdSync.Give();
}

void AppLauncher::m_StoreAnswer(const char* appId, was_app_status_e status, const char* etag) {
    constexpr char OPERATION[] = "m_WASRequestAppIdCallback";
    m_eAppStatus = status;
    m_strEtag = etag;
    if (IsKnownTitleStatus(status)) {
        m_strAppId = appId;
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[%s] %s installed!", appId,
               status == STATUS_INSTALLED ? "is" : "isn't");
    } else if (status == STATUS_UNKNOWN_ERROR) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Can't get App Status due to unknown err");
    } else if (status == STATUS_NOT_SUPPORTED) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "App isn't supported on current TV");
    } else {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Unknown Status[%d]", status);
    }
}
