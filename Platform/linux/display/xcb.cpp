#include "display/xcb.h"

#include <dlfcn.h>

namespace {

template <typename Pointer>
bool Find(void* library, const char* name, Pointer& pointer) {
    pointer = library == nullptr ? nullptr : reinterpret_cast<Pointer>(dlsym(library, name));
    return pointer != nullptr;
}

// The handles are kept for ever.
bool Load(Xcb& xcb) {
    void* core = dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    void* screensaver = dlopen("libxcb-screensaver.so.0", RTLD_NOW | RTLD_LOCAL);
    void* dpms = dlopen("libxcb-dpms.so.0", RTLD_NOW | RTLD_LOCAL);
    bool isComplete = Find(screensaver, "xcb_screensaver_id", xcb.screensaver) && Find(dpms, "xcb_dpms_id", xcb.dpms);
#define QUORVEX_FIND_CORE(name) isComplete = isComplete && Find(core, #name, xcb.name);
#define QUORVEX_FIND_SCREENSAVER(name) isComplete = isComplete && Find(screensaver, #name, xcb.name);
#define QUORVEX_FIND_DPMS(name) isComplete = isComplete && Find(dpms, #name, xcb.name);
    QUORVEX_XCB_FUNCTIONS(QUORVEX_FIND_CORE)
    QUORVEX_XCB_SCREENSAVER_FUNCTIONS(QUORVEX_FIND_SCREENSAVER)
    QUORVEX_XCB_DPMS_FUNCTIONS(QUORVEX_FIND_DPMS)
    return isComplete;
}

}  // namespace

const Xcb* LoadXcb() {
    static Xcb xcb;
    static const bool isLoaded = Load(xcb);
    return isLoaded ? &xcb : nullptr;
}
