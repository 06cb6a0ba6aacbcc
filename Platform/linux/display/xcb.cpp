#include "display/xcb.h"

#include <dlfcn.h>

#include "platform/dlog.h"

namespace {

/// A library that stays loaded: a display that went is expected back.
class Library {
public:
    explicit Library(const char* name)
        : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL)), isComplete_(handle_ != nullptr) {}

    template <typename Pointer>
    Library& Find(const char* name, Pointer& pointer) {
        pointer = handle_ == nullptr ? nullptr : reinterpret_cast<Pointer>(dlsym(handle_, name));
        isComplete_ = isComplete_ && pointer != nullptr;
        return *this;
    }
    bool IsComplete() const { return isComplete_; }

private:
    void* const handle_;
    bool isComplete_;
};

bool Check(const Library& library, const char* name, const char* consequence) {
    if (!library.IsComplete()) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s cannot be used: %s", name, consequence);
    }
    return library.IsComplete();
}

#define QUORVEX_FIND(name) .Find(#name, xcb.name)

bool LoadCore(Xcb& xcb) {
    Library library("libxcb.so.1");
    library QUORVEX_XCB_FUNCTIONS(QUORVEX_FIND);
    return Check(library, "libxcb", "the X display is left alone");
}

void LoadRes(Xcb& xcb) {
    Library library("libxcb-res.so.0");
    library.Find("xcb_res_id", xcb.res) QUORVEX_XCB_RES_FUNCTIONS(QUORVEX_FIND);
    if (!Check(library, "libxcb-res", "which process has a window is what the window says of itself")) {
        xcb.res = nullptr;
    }
}

void LoadScreensaver(Xcb& xcb) {
    Library library("libxcb-screensaver.so.0");
    library.Find("xcb_screensaver_id", xcb.screensaver) QUORVEX_XCB_SCREENSAVER_FUNCTIONS(QUORVEX_FIND);
    if (!Check(library, "libxcb-screensaver", "whether the X server has blanked its screen is not known")) {
        xcb.screensaver = nullptr;
    }
}

void LoadDpms(Xcb& xcb) {
    Library library("libxcb-dpms.so.0");
    library.Find("xcb_dpms_id", xcb.dpms) QUORVEX_XCB_DPMS_FUNCTIONS(QUORVEX_FIND);
    if (!Check(library, "libxcb-dpms", "whether the X server has powered its screen down is not known")) {
        xcb.dpms = nullptr;
    }
}

#undef QUORVEX_FIND

bool Load(Xcb& xcb) {
    if (!LoadCore(xcb)) {
        return false;
    }
    LoadRes(xcb);
    LoadScreensaver(xcb);
    LoadDpms(xcb);
    return true;
}

}  // namespace

const Xcb* LoadXcb() {
    static Xcb xcb;
    static const bool isLoaded = Load(xcb);
    return isLoaded ? &xcb : nullptr;
}
