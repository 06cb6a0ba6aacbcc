#include "aul/xcb_library.h"

#include <dlfcn.h>

#include "platform/dlog.h"

namespace aul {
namespace {

template <typename Symbol>
bool Find(void* library, const char* name, Symbol*& symbol) {
    symbol = library != nullptr ? reinterpret_cast<Symbol*>(dlsym(library, name)) : nullptr;
    return symbol != nullptr;
}

bool FindCore(void* core, XcbLibrary& xcb) {
    return Find(core, "xcb_connect", xcb.connect) && Find(core, "xcb_disconnect", xcb.disconnect) &&
           Find(core, "xcb_connection_has_error", xcb.connectionHasError) &&
           Find(core, "xcb_get_file_descriptor", xcb.getFileDescriptor) && Find(core, "xcb_get_setup", xcb.getSetup) &&
           Find(core, "xcb_setup_roots_iterator", xcb.setupRootsIterator) &&
           Find(core, "xcb_screen_next", xcb.screenNext) && Find(core, "xcb_intern_atom", xcb.internAtom) &&
           Find(core, "xcb_intern_atom_reply", xcb.internAtomReply) &&
           Find(core, "xcb_get_extension_data", xcb.getExtensionData) &&
           Find(core, "xcb_change_window_attributes", xcb.changeWindowAttributes) &&
           Find(core, "xcb_get_window_attributes", xcb.getWindowAttributes) &&
           Find(core, "xcb_get_property", xcb.getProperty) && Find(core, "xcb_flush", xcb.flush) &&
           Find(core, "xcb_poll_for_event", xcb.pollForEvent) &&
           Find(core, "xcb_poll_for_queued_event", xcb.pollForQueuedEvent) &&
           Find(core, "xcb_poll_for_reply", xcb.pollForReply);
}

// The libraries stay loaded: a display that went is expected back.
const XcbLibrary* Load() {
    static XcbLibrary xcb;
    if (!FindCore(dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL), xcb)) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "libxcb.so.1 cannot be used: which X11 window has the focus is "
                     "not known");
        return nullptr;
    }
    void* res = dlopen("libxcb-res.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!Find(res, "xcb_res_id", xcb.res) || !Find(res, "xcb_res_query_client_ids", xcb.resQueryClientIds)) {
        xcb.res = nullptr;
        xcb.resQueryClientIds = nullptr;
    }
    return &xcb;
}

}  // namespace

const XcbLibrary* XcbLibrary::Get() {
    static const XcbLibrary* const library = Load();
    return library;
}

}  // namespace aul
