#include "platform/vconf.h"

#include <cstdlib>
#include <cstring>
#include <exception>

#include "platform/dlog.h"
#include "settings/complaints.h"
#include "settings/computed_keys.h"
#include "settings/set_key.h"
#include "settings/watcher.h"

namespace {

void Log(const std::string& text) {
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s", text.c_str());
}

// Never destroyed: other threads may still read settings while the process ends.
Complaints& TheComplaints() {
    static Complaints& complaints = *new Complaints(Log);
    return complaints;
}

Watcher& TheWatcher() {
    static Watcher& watcher = *new Watcher([](const Reading& reading) { TheComplaints().Note(reading); });
    return watcher;
}

// The callers are C functions, out of which nothing may be thrown.
template <typename Result, typename Operation>
Result Guarded(Result failed, const Operation& operation) {
    try {
        return operation();
    } catch (const std::exception& error) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "settings: %s", error.what());
        return failed;
    }
}

std::string Text(const char* text) {
    return text == nullptr ? "" : text;
}

int Told(const Problem& problem) {
    TheComplaints().Tell(problem);
    return -1;
}

// The value as a T; a value of another type is told.
template <typename T>
std::optional<T> As(const std::string& where, const Value& value) {
    const std::string about = where + " as " + ExampleOf<T>();
    if (const T* wanted = std::get_if<T>(&value)) {
        TheComplaints().Over(about);
        return *wanted;
    }
    TheComplaints().Tell({about, where + ": " + ExampleOf<T>() + " is expected, not " + Quoted(FormatValue(value)) +
                                     "; it is not used"});
    return std::nullopt;
}

template <typename T>
std::optional<T> Get(const char* key) {
    const Reading reading = ReadKey(Text(key));
    TheComplaints().Note(reading);
    return reading.value ? As<T>(reading.path, *reading.value) : std::nullopt;
}

template <typename T>
int GetInto(const char* key, int* value) {
    return Guarded(-1, [&] {
        const std::optional<T> found = value == nullptr ? std::nullopt : Get<T>(key);
        if (found) {
            *value = static_cast<int>(*found);
        }
        return found ? 0 : -1;
    });
}

int Notify(const char* key, vconf_callback_fn callback, void* userData) {
    BeginWatch(Text(key));
    if (const std::optional<Problem> problem = TheWatcher().Add(Text(key), callback, userData)) {
        EndWatch(Text(key));
        return Told(*problem);
    }
    TheComplaints().Over(kWatching);
    return 0;
}

int Ignore(const char* key, vconf_callback_fn callback) {
    if (!TheWatcher().Remove(Text(key), callback)) {
        return -1;
    }
    EndWatch(Text(key));
    return 0;
}

}  // namespace

int SetKey(const std::string& key, const Value& value) {
    if (const std::optional<Problem> problem = WriteKey(key, value)) {
        return Told(*problem);
    }
    TheComplaints().Over("set " + key);
    return 0;
}

int vconf_get_int(const char* key, int* value) {
    return GetInto<int>(key, value);
}

int vconf_get_bool(const char* key, int* value) {
    return GetInto<bool>(key, value);
}

char* vconf_get_str(const char* key) {
    return Guarded(static_cast<char*>(nullptr), [&] {
        const std::optional<std::string> found = Get<std::string>(key);
        return found ? strdup(found->c_str()) : nullptr;
    });
}

int vconf_set_int(const char* key, int value) {
    return Guarded(-1, [&] { return SetKey(Text(key), value); });
}

int vconf_set_str(const char* key, const char* value) {
    return Guarded(-1, [&] { return value == nullptr ? -1 : SetKey(Text(key), std::string(value)); });
}

int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data) {
    return Guarded(-1, [&] { return callback == nullptr ? -1 : Notify(key, callback, user_data); });
}

int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback) {
    return Guarded(-1, [&] { return Ignore(key, callback); });
}

int vconf_keynode_get_int(keynode_t* node) {
    if (node == nullptr || !node->value) {
        return 0;
    }
    if (const bool* flag = std::get_if<bool>(&*node->value)) {
        return *flag ? 1 : 0;
    }
    return Guarded(0, [&] { return As<int>(node->key, *node->value).value_or(0); });
}

int vconf_keynode_get_bool(keynode_t* node) {
    return vconf_keynode_get_int(node) != 0 ? 1 : 0;
}
