#include "FakeProduct.h"

void FakeProduct::SetSmartMonitor(bool smart) {
    const auto lock = recorder_.Lock();
    flags_.begin()->second = smart;
}

void FakeProduct::SetSystemInt(int key, int value) {
    const auto lock = recorder_.Lock();
    numbers_[key] = value;
}

void FakeProduct::SetDirectory(int id, const std::string& path) {
    const auto lock = recorder_.Lock();
    directories_[id] = path;
}

int FakeProduct::OnCustomBool(const char* key, bool* value) {
    return recorder_.RunWithAll(key != nullptr && value != nullptr, "system_info_get_custom_bool", {ArgumentText(key)},
                                kZeroIsSuccess, [&] {
                                    const auto found = flags_.find(key);
                                    return found == flags_.end() ? -1 : (*value = found->second, 0);
                                });
}

int FakeProduct::OnValueInt(int key, int* value) {
    return recorder_.RunWithAll(value != nullptr, "system_info_get_value_int", {ArgumentText(key)}, kZeroIsSuccess,
                                [&] {
                                    const auto found = numbers_.find(key);
                                    return found == numbers_.end() ? -1 : (*value = found->second, 0);
                                });
}

const char* FakeProduct::OnGetenv(int id) {
    const char* path = nullptr;
    recorder_.Run("tzplatform_getenv", {ArgumentText(id)}, kZeroIsSuccess, [&] {
        const auto found = directories_.find(id);
        path = found == directories_.end() ? nullptr : found->second.c_str();
        return 0;
    });
    return path;
}
