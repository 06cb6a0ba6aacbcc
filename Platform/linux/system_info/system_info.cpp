#include "platform/system_info.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "device_power/standby.h"
#include "platform/dlog.h"
#include "system_info/product_conf.h"

namespace {

constexpr char kStandbyFeature[] = "com.velmora/featureconf/product.smart_monitor_feature_support";
constexpr int kLocalSet = 284;
constexpr int kLocalSetChina = 24;
constexpr int kLocalSetElsewhere = 0;

// Once for the whole process: who has subscribed to standby because of the answer must unsubscribe because of it.
bool HasStandbyFeature() {
    static const bool hasFeature = ProductFlag("smart-monitor").value_or(Standby::IsOffered());
    return hasFeature;
}

// The locale of addresses says where the machine is: "zh_CN.UTF-8".
std::string Locale() {
    for (const char* name : {"LC_ALL", "LC_ADDRESS", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

std::string Territory() {
    const std::string locale = Locale();
    const size_t start = locale.find('_');
    return start == std::string::npos ? "" : locale.substr(start + 1, locale.find_first_of(".@", start) - start - 1);
}

std::optional<int> LocalSet() {
    const std::optional<int> given = ProductNumber("local-set");
    const std::string territory = Territory();
    if (given || territory.empty()) {
        return given;
    }
    return territory == "CN" ? kLocalSetChina : kLocalSetElsewhere;
}

// The callers are C functions, out of which nothing may be thrown; a value that is not known is left as it is.
template <typename Value, typename Find>
int Answer(Value* value, const Find& find) {
    try {
        const std::optional<Value> found = value == nullptr ? std::nullopt : find();
        if (found) {
            *value = *found;
        }
        return found ? 0 : -1;
    } catch (const std::exception& error) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "product information: %s", error.what());
        return -1;
    }
}

}  // namespace

int system_info_get_custom_bool(const char* key, bool* value) {
    if (key == nullptr || std::strcmp(key, kStandbyFeature) != 0) {
        return -1;
    }
    return Answer(value, [] { return std::optional<bool>(HasStandbyFeature()); });
}

int system_info_get_value_int(int key, int* value) {
    return key == kLocalSet ? Answer(value, LocalSet) : -1;
}
