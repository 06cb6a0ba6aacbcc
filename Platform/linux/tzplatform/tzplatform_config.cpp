#include "platform/tzplatform_config.h"

#include <exception>
#include <string>

#include "platform/dlog.h"
#include "tzplatform/base_directory.h"

namespace {

constexpr int kApplications = 27;
constexpr int kOwnData = 77;

struct Directories {
    std::string applications = BaseDirectory("XDG_DATA_HOME", ".local/share") + "/quorvex/apps";
    std::string ownData = BaseDirectory("XDG_CONFIG_HOME", ".config") + "/quorvex";
};

// Asked for once and never released: the texts stay valid until the process has ended, whoever holds them.
const Directories& TheDirectories() {
    static const Directories* const directories = new Directories;
    return *directories;
}

}  // namespace

// An empty text, not a null one, where there is no answer: callers append to it.
const char* tzplatform_getenv(int id) try {
    switch (id) {
        case kApplications:
            return TheDirectories().applications.c_str();
        case kOwnData:
            return TheDirectories().ownData.c_str();
        default:
            __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "tzplatform_getenv: there is no directory %d", id);
            return "";
    }
} catch (const std::exception&) {
    return "";
}
