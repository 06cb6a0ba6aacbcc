#include "Utils.h"

#include "Log.h"
#include "platform/system_info.h"

bool utils::IsSmartMonitor() {
    bool isSmartMonitor = false;
    if (system_info_get_custom_bool("com.velmora/featureconf/product.smart_monitor_feature_support", &isSmartMonitor) !=
        0) {
        LOGE("FMS smart_monitor_feature_support get failed ");
        return false;
    }
    LOGI("FMS smart_monitor_feature_support value is : [%d]", isSmartMonitor);
    return isSmartMonitor;
}

bool utils::IsChinaLocalSet() {
    constexpr int LOCAL_SET = 284;          // the platform's number of the key
    constexpr int CHINA_SETS[] = {24, 36};  // its values for the Chinese market
    int localSet = -1;
    if (system_info_get_value_int(LOCAL_SET, &localSet) != 0) {
        LOGE("[ERROR]system_info_get_value_int fail");
        return false;
    }
    if (localSet != CHINA_SETS[0] && localSet != CHINA_SETS[1]) {
        return false;
    }
    LOGI("China TV");
    return true;
}
