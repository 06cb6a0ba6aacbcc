#pragma once

#include <glib.h>
#include <platform/vconf.h>

#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "CallRecorder.h"

using Setting = std::variant<int, bool, std::string>;

/// What a change callback receives.
struct _keynode_t {
    Setting value;
};

/// The settings store. Keys start with these values:
///   memory/accessory/playnest_status 0, memory/accessory/gamepad_active 0, memory/accessory/downloadable_runtitle "",
///   memory/window_system/screensaver_on_off false, db/menu/connection/easy-wakeup 0,
///   db/menu/homeview/homedatacontrol/defaultdisclaimeragree 1, db/comss/countrycode "US".
///
/// Each change, the service's own included, is told to the key's watchers through the default GMainContext, with the
/// value of that change; not to those who have left meanwhile. A read of another type than the stored one fails.
/// Strict: nobody watches a key twice with one callback or leaves what he does not watch; a key node is read only in
/// the callback that received it.
class FakeSettings {
public:
    explicit FakeSettings(CallRecorder& recorder) : recorder_(recorder) {}
    ~FakeSettings();
    FakeSettings(const FakeSettings&) = delete;
    FakeSettings& operator=(const FakeSettings&) = delete;

    void SetInt(const std::string& key, int value) { Set(key, value); }
    void SetBool(const std::string& key, bool value) { Set(key, value); }
    void SetStr(const std::string& key, const std::string& value) { Set(key, value); }
    void Unset(const std::string& key);
    std::optional<Setting> Get(const std::string& key) const;
    bool IsWatched(const std::string& key) const;
    bool WaitForSetting(const std::string& key, const Setting& value, std::chrono::milliseconds atMost = kSoon) const;
    /// True as soon as every change so far has been told. Needs somebody who runs the main context.
    bool WaitUntilChangesTold(std::chrono::milliseconds atMost = kSoon) const;
    /// Runs the main context on this thread until every change so far has been told.
    void TellChanges();
    /// A node for a test that calls a change callback itself; valid as long as the double.
    keynode_t* MakeNode(Setting value);

    int OnGetInt(const char* key, int* value);
    int OnGetBool(const char* key, int* value);
    char* OnGetStr(const char* key);
    int OnSetInt(const char* key, int value);
    int OnSetStr(const char* key, const char* value);
    int OnNotify(const char* key, vconf_callback_fn callback, void* user);
    int OnIgnore(const char* key, vconf_callback_fn callback);
    int OnNodeInt(keynode_t* node);
    int OnNodeBool(keynode_t* node);

protected:
    void AppendSettingLeftovers(std::vector<std::string>& leftovers) const;
    void DropChanges();

private:
    struct Watch {
        std::string key;
        vconf_callback_fn callback;
        void* user;
    };
    struct Change {
        FakeSettings* settings;
        Watch watch;
        keynode_t node;
        GSource* source;
    };

    void Set(const std::string& key, Setting value);
    void SetLocked(const std::string& key, Setting value);
    std::list<Watch>::iterator FindLocked(const std::string& key, vconf_callback_fn callback);
    static gboolean Tell(gpointer data);
    void TellOne(Change* change);
    template <class Type>
    Type NodeValue(const char* function, keynode_t* node);

    CallRecorder& recorder_;
    std::map<std::string, Setting> values_ = {
        {"memory/accessory/playnest_status", 0},
        {"memory/accessory/gamepad_active", 0},
        {"memory/accessory/downloadable_runtitle", std::string()},
        {"memory/window_system/screensaver_on_off", false},
        {"db/menu/connection/easy-wakeup", 0},
        {"db/menu/homeview/homedatacontrol/defaultdisclaimeragree", 1},
        {"db/comss/countrycode", std::string("US")},
    };
    std::list<Watch> watches_;
    std::list<Change> changes_;
    std::list<keynode_t> made_;
    std::set<const keynode_t*> readable_;
};
