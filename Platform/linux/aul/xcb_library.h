#ifndef PLATFORM_LINUX_AUL_XCB_LIBRARY_H
#define PLATFORM_LINUX_AUL_XCB_LIBRARY_H

#include <xcb/res.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

namespace aul {

/// The X client libraries, loaded when a display is first asked for: a machine without one does without them.
struct XcbLibrary {
    decltype(xcb_connect)* connect;
    decltype(xcb_disconnect)* disconnect;
    decltype(xcb_connection_has_error)* connectionHasError;
    decltype(xcb_get_file_descriptor)* getFileDescriptor;
    decltype(xcb_get_setup)* getSetup;
    decltype(xcb_setup_roots_iterator)* setupRootsIterator;
    decltype(xcb_screen_next)* screenNext;
    decltype(xcb_intern_atom)* internAtom;
    decltype(xcb_intern_atom_reply)* internAtomReply;
    decltype(xcb_get_extension_data)* getExtensionData;
    decltype(xcb_change_window_attributes)* changeWindowAttributes;
    decltype(xcb_get_window_attributes)* getWindowAttributes;
    decltype(xcb_get_property)* getProperty;
    decltype(xcb_flush)* flush;
    decltype(xcb_poll_for_event)* pollForEvent;
    decltype(xcb_poll_for_queued_event)* pollForQueuedEvent;
    decltype(xcb_poll_for_reply)* pollForReply;

    /// Null in both when libxcb-res is missing: processes are known by what windows say of themselves then.
    xcb_extension_t* res;
    decltype(xcb_res_query_client_ids)* resQueryClientIds;

    /// Null when they are not installed, which is told once. Any thread.
    static const XcbLibrary* Get();
};

}  // namespace aul

#endif
