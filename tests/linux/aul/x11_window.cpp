// A plain X client with one window, for tests of the focus:
//   x11_window [--class CLASS] [--pid NUMBER]   shows a window; prints its id and its process as the machine numbers it
//   x11_window --activate ID                    asks the window manager to give that window the focus
//   x11_window --pretend ID                     says that this window, or with 0 the root window, has the focus
// It says of itself what it believes its process to be, or NUMBER; 0: nothing. SIGUSR1 closes the window, not the
// program.
#include <poll.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

volatile sig_atomic_t mustClose = 0;

xcb_atom_t Atom(xcb_connection_t* connection, const char* name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

xcb_window_t Root(xcb_connection_t* connection) {
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

// An answer means that the server has everything that was sent before.
void WaitForServer(xcb_connection_t* connection) {
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

xcb_window_t Show(xcb_connection_t* connection, const std::string& name, uint32_t pid) {
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, Root(connection), 10, 10, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const std::string texts = std::string("instance") + '\0' + name + '\0';
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(texts.size()), texts.data());
    if (pid != 0) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, Atom(connection, "_NET_WM_PID"),
                            XCB_ATOM_CARDINAL, 32, 1, &pid);
    }
    xcb_map_window(connection, window);
    xcb_flush(connection);
    return window;
}

void Activate(xcb_connection_t* connection, xcb_window_t window) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = Atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2;  // as a pager does
    xcb_send_event(connection, 0, Root(connection),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    WaitForServer(connection);
}

void Pretend(xcb_connection_t* connection, xcb_window_t window) {
    const xcb_window_t active = window != 0 ? window : Root(connection);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, Root(connection), Atom(connection, "_NET_ACTIVE_WINDOW"),
                        XCB_ATOM_WINDOW, 32, 1, &active);
    WaitForServer(connection);
}

// The directory of processes is that of the whole machine, also in a process namespace.
std::string PidOnTheMachine() {
    char target[32] = {};
    return readlink("/proc/self", target, sizeof target - 1) > 0 ? target : "0";
}

void Serve(xcb_connection_t* connection, xcb_window_t window) {
    while (xcb_connection_has_error(connection) == 0) {
        pollfd wait{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&wait, 1, 1000);
        if (mustClose != 0) {
            mustClose = 0;
            xcb_destroy_window(connection, window);
            xcb_flush(connection);
        }
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            std::free(event);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string name = "Plain";
    auto pid = static_cast<uint32_t>(getpid());
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        return 1;
    }
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--activate" || option == "--pretend") {
            const auto act = option == "--activate" ? Activate : Pretend;
            act(connection, static_cast<xcb_window_t>(std::strtoul(argv[i + 1], nullptr, 10)));
            xcb_disconnect(connection);
            return 0;
        }
        if (option == "--class") {
            name = argv[i + 1];
        } else {
            pid = static_cast<uint32_t>(std::strtoul(argv[i + 1], nullptr, 10));
        }
    }
    struct sigaction action {};
    action.sa_handler = [](int) { mustClose = 1; };
    sigaction(SIGUSR1, &action, nullptr);
    const xcb_window_t window = Show(connection, name, pid);
    std::printf("%u %s\n", window, PidOnTheMachine().c_str());
    std::fflush(stdout);
    Serve(connection, window);
    xcb_disconnect(connection);
}
