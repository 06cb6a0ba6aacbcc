// The file that binds buttons to applications, what happens when one of them is pressed, and the store's answers.

#include "AppLauncher.h"
#include "fuzz.h"
#include "platform/assert.h"
#include "platform/system_info.h"
#include "platform/tzplatform_config.h"
#include "platform/vconf.h"
#include "platform/virtual_key.h"

namespace {

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    return folder;
}

/// What the platform answers, and what it was asked to do.
struct Platform {
    bool isAccepted = true;
    int refusal = 0;
    int status = 0;
    bool hasTexts = true;
    std::string appId;
    std::string etag;
    int keys = 0;
    int lastKey = 0;
};
Platform gPlatform;

}  // namespace

const char* tzplatform_getenv(int) {
    return Home().Path().c_str();
}
void _ASSERT(const char*, const char*, int) {
    fuzz::Require(false, "nothing is misused");
}
int VirtualKey_Send_KeyCode(int key, int action) {
    fuzz::Require(action == KEY_ACTION_AUTO_PRESS_RELEASE, "a launch presses and releases its key");
    ++gPlatform.keys;
    gPlatform.lastKey = key;
    return 1;
}
int was_request_appid_by_runtitle(const char* title, const char* etag, was_appid_fn callback, void* user) {
    fuzz::Require(title != nullptr && etag != nullptr, "a title is asked for");
    if (gPlatform.refusal == 0) {
        const bool hasTexts = gPlatform.hasTexts;
        callback(hasTexts ? gPlatform.appId.c_str() : nullptr, gPlatform.status,
                 hasTexts ? gPlatform.etag.c_str() : nullptr, user);
    }
    return gPlatform.refusal;
}
int vconf_get_int(const char*, int* value) {
    *value = gPlatform.isAccepted ? 1 : 0;
    return 0;
}
int vconf_get_bool(const char*, int*) {
    return -1;
}
char* vconf_get_str(const char*) {
    return nullptr;
}
int vconf_set_int(const char*, int) {
    return -1;
}
int vconf_set_str(const char*, const char*) {
    return -1;
}
int vconf_notify_key_changed(const char*, vconf_callback_fn, void*) {
    return -1;
}
int vconf_ignore_key_changed(const char*, vconf_callback_fn) {
    return -1;
}
int system_info_get_custom_bool(const char*, bool*) {
    return -1;
}
int system_info_get_value_int(int, int*) {
    return -1;
}

namespace {

void AnswerFrom(fuzz::Input& input) {
    gPlatform = {};
    const std::uint8_t flags = input.Byte();
    gPlatform.isAccepted = (flags & 1U) == 0;
    gPlatform.refusal = (flags & 6U) == 6 ? input.Int() : 0;
    gPlatform.status = (flags & 8U) == 0 ? input.Byte() % 4 : input.Int();
    gPlatform.hasTexts = (flags & 16U) == 0;
    gPlatform.appId = input.Text();
    gPlatform.etag = input.Text();
}

// A press is used up exactly when its key is sent.
void Press(AppLauncher& launcher, int button) {
    gPlatform.keys = 0;
    const bool isUsed = launcher.LaunchAppCheck(button);
    fuzz::Require(gPlatform.keys == (isUsed ? 1 : 0), "a press is used exactly when the bound key is sent");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const int other = input.Int();
    AnswerFrom(input);
    Home().Write("accessory/app_config.json", input.Rest());
    AppLauncher launcher;
    fuzz::Require(launcher.Initialize(), "a file cannot keep the launcher from starting");
    for (int button = -1; button < 16; ++button) {
        Press(launcher, button);
    }
    Press(launcher, other);
    launcher.DeInitialize();
    return 0;
}
