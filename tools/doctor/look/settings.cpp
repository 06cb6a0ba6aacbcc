#include <filesystem>

#include "look/looks.h"
#include "platform/system_info.h"
#include "settings/key_file.h"
#include "settings/known_keys.h"

namespace doctor {
namespace {

namespace fs = std::filesystem;

/// What the service goes by while a key is not set.
Value DefaultOf(KeyType type) {
    switch (type) {
        case KeyType::kInt:
            return 0;
        case KeyType::kBool:
            return false;
        case KeyType::kString:
            break;
    }
    return std::string();
}

std::string OnOneLine(const Value& value) {
    const int* number = std::get_if<int>(&value);
    return number != nullptr ? std::to_string(*number) : FormatValue(value);
}

Json::Value AsJson(const Value& value) {
    return std::visit([](const auto& held) { return Json::Value(held); }, value);
}

Finding SettingFinding(const KnownKey& key, const Reading& reading) {
    const Value value = reading.value.value_or(DefaultOf(key.type));
    const bool is_default = value == DefaultOf(key.type);
    Finding finding = Works(std::string(key.name) + " = " + OnOneLine(value) + (is_default ? " (default)" : ""));
    finding.facts["key"] = key.name;
    finding.facts["value"] = AsJson(value);
    finding.facts["default"] = is_default;
    finding.facts["set"] = reading.value.has_value();
    return finding;
}

std::string SetCommand(const KnownKey& key) {
    const char* example = key.type == KeyType::kInt ? " 0" : key.type == KeyType::kBool ? " false" : " ''";
    return std::string("quorvex-settings set ") + key.name + example;
}

Finding LookAtSetting(const KnownKey& key) {
    const Reading reading = ReadKey(key.name);
    if (reading.problem) {
        return Broken(reading.problem->text, SetCommand(key));
    }
    if (reading.value && !IsOfType(*reading.value, key.type)) {
        return Broken(reading.path + ": holds " + Quoted(FormatValue(*reading.value)) + ", which is no " +
                          TypeName(key.type) + "; it is not used",
                      SetCommand(key));
    }
    return SettingFinding(key, reading);
}

/// The folder of the keys that begin so; empty where they cannot be located.
fs::path FolderOf(const std::string& beginning) {
    const auto place = LocateKey(beginning);
    const std::string* path = std::get_if<std::string>(&place);
    return path == nullptr ? fs::path() : fs::path(*path);
}

/// A writer's own file, which is there for a moment: the name of the key and a dot with six characters.
bool IsBeingWritten(const std::string& name) {
    constexpr std::size_t kSuffix = 7;
    return name.size() > kSuffix && name[name.size() - kSuffix] == '.' &&
           FindKey(name.substr(0, name.size() - kSuffix)) != nullptr;
}

Finding UnknownKey(const fs::path& file, const std::string& name) {
    return Lacks(file.string() + ": nobody reads this key; the nearest one is " + NearestKey(name).name,
                 "rm '" + file.string() + "'");
}

void AddUnknownKeys(const std::string& beginning, Section& section) {
    const fs::path folder = FolderOf(beginning);
    std::error_code error;
    for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        const std::string name = beginning + "/" + at->path().lexically_relative(folder).string();
        std::error_code not_told;
        if (!at->is_directory(not_told) && FindKey(name) == nullptr && !IsBeingWritten(name)) {
            section.findings.push_back(UnknownKey(at->path(), name));
        }
    }
}

/// One finding for all keys that have no place.
bool AddMissingDirectory(Section& section) {
    const auto place = LocateKey(kKnownKeys.front().name);
    const Problem* problem = std::get_if<Problem>(&place);
    if (problem != nullptr) {
        section.findings.push_back(Broken(problem->text, "log in, or: export XDG_RUNTIME_DIR=/run/user/$(id -u)"));
    }
    return problem != nullptr;
}

/// What product.conf says is told in messages where it cannot be understood.
void AddProductComplaints(Notes& notes, Section& section) {
    bool is_monitor = false;
    int local_set = 0;
    system_info_get_custom_bool("com.velmora/featureconf/product.smart_monitor_feature_support", &is_monitor);
    system_info_get_value_int(284, &local_set);
    for (const std::string& error : notes.NewErrors()) {
        section.findings.push_back(Lacks(error, "mend or delete that line"));
    }
}

}  // namespace

Section LookAtSettings(Notes& notes) {
    Section section{"settings", "Settings", {}};
    const bool is_without_memory = AddMissingDirectory(section);
    for (const KnownKey& key : kKnownKeys) {
        if (!is_without_memory || FolderOf(key.name) != fs::path()) {
            section.findings.push_back(LookAtSetting(key));
        }
    }
    AddUnknownKeys("memory", section);
    AddUnknownKeys("db", section);
    AddProductComplaints(notes, section);
    return section;
}

}  // namespace doctor
