#include "FakeSettings.h"

#include <algorithm>
#include <cstring>

namespace {

/// A change passes from thread to thread through GLib, whose locks ThreadSanitizer does not see; it sees this one.
std::mutex& TheHandover() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

}  // namespace

FakeSettings::~FakeSettings() {
    DropChanges();
}

void FakeSettings::Set(const std::string& key, Setting value) {
    const auto lock = recorder_.Lock();
    SetLocked(key, std::move(value));
    recorder_.Changed();
}

void FakeSettings::SetLocked(const std::string& key, Setting value) {
    values_[key] = value;
    const std::lock_guard<std::mutex> handover(TheHandover());
    for (const Watch& watch : watches_) {
        if (watch.key == key) {
            changes_.push_back({this, watch, {value}, g_idle_source_new()});
            g_source_set_priority(changes_.back().source, G_PRIORITY_DEFAULT);
            g_source_set_callback(changes_.back().source, Tell, &changes_.back(), nullptr);
            g_source_attach(changes_.back().source, nullptr);
        }
    }
}

gboolean FakeSettings::Tell(gpointer data) {
    auto* const change = static_cast<Change*>(data);
    FakeSettings* settings = nullptr;
    {
        const std::lock_guard<std::mutex> handover(TheHandover());
        settings = change->settings;
    }
    settings->TellOne(change);
    return G_SOURCE_REMOVE;
}

void FakeSettings::TellOne(Change* change) {
    bool wanted = false;
    {
        const auto lock = recorder_.Lock();
        wanted = FindLocked(change->watch.key, change->watch.callback) != watches_.end();
        readable_.insert(&change->node);
    }
    if (wanted) {
        change->watch.callback(&change->node, change->watch.user);
    }
    const auto lock = recorder_.Lock();
    readable_.erase(&change->node);
    g_source_unref(change->source);
    changes_.remove_if([change](const Change& one) { return &one == change; });
    recorder_.Changed();
}

void FakeSettings::DropChanges() {
    const auto lock = recorder_.Lock();
    for (const Change& change : changes_) {
        g_source_destroy(change.source);
        g_source_unref(change.source);
    }
    changes_.clear();
}

void FakeSettings::Unset(const std::string& key) {
    const auto lock = recorder_.Lock();
    values_.erase(key);
}

std::optional<Setting> FakeSettings::Get(const std::string& key) const {
    const auto lock = recorder_.Lock();
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional<Setting>(found->second);
}

bool FakeSettings::IsWatched(const std::string& key) const {
    const auto lock = recorder_.Lock();
    return std::any_of(watches_.begin(), watches_.end(), [&](const Watch& watch) { return watch.key == key; });
}

bool FakeSettings::WaitForSetting(const std::string& key, const Setting& value,
                                  std::chrono::milliseconds atMost) const {
    const auto has_value = [&] {
        const auto found = values_.find(key);
        return found != values_.end() && found->second == value;
    };
    return recorder_.WaitUntil(has_value, atMost);
}

bool FakeSettings::WaitUntilChangesTold(std::chrono::milliseconds atMost) const {
    return recorder_.WaitUntil([this] { return changes_.empty(); }, atMost);
}

void FakeSettings::TellChanges() {
    while (!WaitUntilChangesTold(std::chrono::milliseconds(0))) {
        g_main_context_iteration(nullptr, FALSE);
    }
}

keynode_t* FakeSettings::MakeNode(Setting value) {
    const auto lock = recorder_.Lock();
    made_.push_back({std::move(value)});
    readable_.insert(&made_.back());
    return &made_.back();
}

int FakeSettings::OnGetInt(const char* key, int* value) {
    return recorder_.RunWithAll(
        key != nullptr && value != nullptr, "vconf_get_int", {ArgumentText(key)}, kZeroIsSuccess, [&] {
            const auto found = values_.find(key);
            const int* const stored = found == values_.end() ? nullptr : std::get_if<int>(&found->second);
            return stored == nullptr ? -1 : (*value = *stored, 0);
        });
}

int FakeSettings::OnGetBool(const char* key, int* value) {
    return recorder_.RunWithAll(
        key != nullptr && value != nullptr, "vconf_get_bool", {ArgumentText(key)}, kZeroIsSuccess, [&] {
            const auto found = values_.find(key);
            const bool* const stored = found == values_.end() ? nullptr : std::get_if<bool>(&found->second);
            return stored == nullptr ? -1 : (*value = *stored ? 1 : 0, 0);
        });
}

char* FakeSettings::OnGetStr(const char* key) {
    char* copy = nullptr;
    recorder_.RunWithAll(key != nullptr, "vconf_get_str", {ArgumentText(key)}, kZeroIsSuccess, [&] {
        const auto found = values_.find(key);
        const auto* const stored = found == values_.end() ? nullptr : std::get_if<std::string>(&found->second);
        copy = stored == nullptr ? nullptr : strdup(stored->c_str());
        return 0;
    });
    return copy;
}

int FakeSettings::OnSetInt(const char* key, int value) {
    return recorder_.RunWithAll(key != nullptr, "vconf_set_int", {ArgumentText(key), ArgumentText(value)},
                                kZeroIsSuccess, [&] {
                                    SetLocked(key, value);
                                    return 0;
                                });
}

int FakeSettings::OnSetStr(const char* key, const char* value) {
    return recorder_.RunWithAll(key != nullptr && value != nullptr, "vconf_set_str",
                                {ArgumentText(key), ArgumentText(value)}, kZeroIsSuccess, [&] {
                                    SetLocked(key, std::string(value));
                                    return 0;
                                });
}

std::list<FakeSettings::Watch>::iterator FakeSettings::FindLocked(const std::string& key, vconf_callback_fn callback) {
    return std::find_if(watches_.begin(), watches_.end(),
                        [&](const Watch& watch) { return watch.key == key && watch.callback == callback; });
}

int FakeSettings::OnNotify(const char* key, vconf_callback_fn callback, void* user) {
    const auto effect = [&] {
        if (FindLocked(key, callback) != watches_.end()) {
            recorder_.ViolateLocked("watched twice: " + std::string(key));
            return -1;
        }
        watches_.push_back({key, callback, user});
        return 0;
    };
    return recorder_.RunWithAll(key != nullptr && callback != nullptr, "vconf_notify_key_changed",
                                {ArgumentText(key), PointerText(callback != nullptr), PointerText(user != nullptr)},
                                kZeroIsSuccess, effect);
}

int FakeSettings::OnIgnore(const char* key, vconf_callback_fn callback) {
    const auto effect = [&] {
        const auto found = FindLocked(key, callback);
        if (found == watches_.end()) {
            recorder_.ViolateLocked("left without having watched: " + std::string(key));
            return -1;
        }
        watches_.erase(found);
        return 0;
    };
    return recorder_.RunWithAll(key != nullptr && callback != nullptr, "vconf_ignore_key_changed",
                                {ArgumentText(key), PointerText(callback != nullptr)}, kZeroIsSuccess, effect);
}

template <class Type>
Type FakeSettings::NodeValue(const char* function, keynode_t* node) {
    Type value{};
    recorder_.Run(function, {PointerText(node != nullptr)}, kZeroIsSuccess, [&] {
        const Type* const stored = readable_.count(node) == 0 ? nullptr : std::get_if<Type>(&node->value);
        if (stored == nullptr) {
            recorder_.ViolateLocked(std::string(function) + " of a node that is not readable so, or no longer");
        }
        value = stored == nullptr ? Type{} : *stored;
        return 0;
    });
    return value;
}

int FakeSettings::OnNodeInt(keynode_t* node) {
    return NodeValue<int>("vconf_keynode_get_int", node);
}
int FakeSettings::OnNodeBool(keynode_t* node) {
    return NodeValue<bool>("vconf_keynode_get_bool", node) ? 1 : 0;
}

void FakeSettings::AppendSettingLeftovers(std::vector<std::string>& leftovers) const {
    const auto lock = recorder_.Lock();
    for (const Watch& watch : watches_) {
        leftovers.push_back("watch of " + watch.key);
    }
}
