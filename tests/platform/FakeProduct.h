#pragma once

#include <map>
#include <string>

#include "CallRecorder.h"

/// What the product is, and where its directories are. A TV (no smart monitor) of local set 0 at first; directories
/// are paths that do not exist. Unknown keys fail.
class FakeProduct {
public:
    explicit FakeProduct(CallRecorder& recorder) : recorder_(recorder) {}

    void SetSmartMonitor(bool smart);
    void SetSystemInt(int key, int value);
    void SetDirectory(int id, const std::string& path);

    int OnCustomBool(const char* key, bool* value);
    int OnValueInt(int key, int* value);
    const char* OnGetenv(int id);

private:
    CallRecorder& recorder_;
    std::map<std::string, bool> flags_ = {{"com.velmora/featureconf/product.smart_monitor_feature_support", false}};
    std::map<int, int> numbers_ = {{284, 0}};
    std::map<int, std::string> directories_ = {{27, "/nonexistent/apps"}, {77, "/nonexistent/data"}};
};
