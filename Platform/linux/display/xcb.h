/// The functions of the X libraries that are used here, loaded when the first display is connected to: the libraries
/// take 200 kB, which a session without X does not pay.
#pragma once

#include <xcb/dpms.h>
#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#define QUORVEX_XCB_FUNCTIONS(X)    \
    X(xcb_connect)                  \
    X(xcb_disconnect)               \
    X(xcb_connection_has_error)     \
    X(xcb_get_file_descriptor)      \
    X(xcb_get_setup)                \
    X(xcb_setup_roots_iterator)     \
    X(xcb_screen_next)              \
    X(xcb_get_extension_data)       \
    X(xcb_poll_for_event)           \
    X(xcb_poll_for_reply)           \
    X(xcb_discard_reply)            \
    X(xcb_flush)                    \
    X(xcb_intern_atom)              \
    X(xcb_intern_atom_reply)        \
    X(xcb_get_property)             \
    X(xcb_get_property_value)       \
    X(xcb_get_window_attributes)    \
    X(xcb_change_window_attributes) \
    X(xcb_force_screen_saver)

#define QUORVEX_XCB_RES_FUNCTIONS(X) X(xcb_res_query_client_ids)

#define QUORVEX_XCB_SCREENSAVER_FUNCTIONS(X) \
    X(xcb_screensaver_query_info)            \
    X(xcb_screensaver_select_input)

#define QUORVEX_XCB_DPMS_FUNCTIONS(X) \
    X(xcb_dpms_info)                  \
    X(xcb_dpms_force_level)

struct Xcb {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name stands without
#define QUORVEX_MEMBER(name) decltype(&::name) name = nullptr;
    QUORVEX_XCB_FUNCTIONS(QUORVEX_MEMBER)
    QUORVEX_XCB_RES_FUNCTIONS(QUORVEX_MEMBER)
    QUORVEX_XCB_SCREENSAVER_FUNCTIONS(QUORVEX_MEMBER)
    QUORVEX_XCB_DPMS_FUNCTIONS(QUORVEX_MEMBER)
#undef QUORVEX_MEMBER
    /// Null, as their functions, where the extension's library is not installed.
    xcb_extension_t* res = nullptr;
    xcb_extension_t* screensaver = nullptr;
    xcb_extension_t* dpms = nullptr;
};

/// Null where libxcb is not installed; each library that is missing is told of once. Any thread.
const Xcb* LoadXcb();
