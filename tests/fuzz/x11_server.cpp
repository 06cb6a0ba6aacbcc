#include "x11_server.h"

#include <dlfcn.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/dpms.h>
#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

namespace {

using fuzz::Input;

constexpr std::size_t kReply = 32;  // of every reply, before the words that it says follow
constexpr std::size_t kEvent = sizeof(xcb_generic_event_t);

struct State {
    Input* input;
    int wake;
    bool isGone = false;
    unsigned sequence = 0;
    unsigned powerQuestions = 0;
    xcb_screen_t screen{};
    int screens = 1;
    xcb_query_extension_reply_t extension{};
};
State* gState = nullptr;

#ifdef __SANITIZE_ADDRESS__
#define SEES_READS_BEYOND 1
#elif defined(__has_feature)
#define SEES_READS_BEYOND __has_feature(address_sanitizer)
#else
#define SEES_READS_BEYOND 0
#endif

/// Memory as the library hands it out: exactly as much as came. Where nobody sees what is read beyond it, it is wrong.
void* Bytes(std::size_t size) {
    const std::size_t beyond = SEES_READS_BEYOND ? 0 : 64;
    void* const bytes = std::malloc(size + beyond);
    std::memset(static_cast<char*>(bytes) + size, 0xff, beyond);
    gState->input->Fill(bytes, size);
    return bytes;
}

void* NewReply() {
    const std::size_t words = gState->input->Byte() % 72;
    auto* const reply = static_cast<xcb_generic_reply_t*>(Bytes(kReply + words * 4));
    reply->response_type = 1;
    reply->length = static_cast<std::uint32_t>(words);
    return reply;
}

template <typename Cookie>
Cookie Next() {
    return {++gState->sequence};
}

xcb_connection_t* Connect(const char*, int* screen) {
    if (screen != nullptr) {
        *screen = gState->input->Byte() % 4;
    }
    return reinterpret_cast<xcb_connection_t*>(gState);
}
void Disconnect(xcb_connection_t*) {}
int HasError(xcb_connection_t*) {
    return gState->isGone ? XCB_CONN_ERROR : 0;
}
int FileDescriptor(xcb_connection_t*) {
    return gState->wake;
}
const xcb_setup_t* Setup(xcb_connection_t*) {
    static const xcb_setup_t setup{};
    return &setup;
}
xcb_screen_iterator_t Roots(const xcb_setup_t*) {
    return {gState->screens > 0 ? &gState->screen : nullptr, gState->screens, 0};
}
void NextScreen(xcb_screen_iterator_t* screens) {
    --screens->rem;
}
const xcb_query_extension_reply_t* Extension(xcb_connection_t*, xcb_extension_t*) {
    return &gState->extension;
}
xcb_intern_atom_cookie_t InternAtom(xcb_connection_t*, std::uint8_t, std::uint16_t, const char*) {
    return Next<xcb_intern_atom_cookie_t>();
}
xcb_intern_atom_reply_t* AtomReply(xcb_connection_t*, xcb_intern_atom_cookie_t, xcb_generic_error_t**) {
    return gState->input->Flag() ? static_cast<xcb_intern_atom_reply_t*>(NewReply()) : nullptr;
}
xcb_void_cookie_t ChangeAttributes(xcb_connection_t*, xcb_window_t, std::uint32_t, const void*) {
    return Next<xcb_void_cookie_t>();
}
xcb_get_window_attributes_cookie_t Attributes(xcb_connection_t*, xcb_window_t) {
    return Next<xcb_get_window_attributes_cookie_t>();
}
xcb_get_property_cookie_t Property(xcb_connection_t*, std::uint8_t, xcb_window_t, xcb_atom_t, xcb_atom_t, std::uint32_t,
                                   std::uint32_t) {
    return Next<xcb_get_property_cookie_t>();
}
// Both as the library has them, which believes the server.
void* PropertyValue(const xcb_get_property_reply_t* reply) {
    return const_cast<xcb_get_property_reply_t*>(reply + 1);
}
int PropertyLength(const xcb_get_property_reply_t* reply) {
    return static_cast<int>(reply->value_len * (reply->format / 8U));
}
int Flush(xcb_connection_t*) {
    return 1;
}
xcb_generic_event_t* NextEvent(xcb_connection_t*) {
    const bool isThere = !gState->isGone && gState->input->Byte() % 4 == 0 && !gState->input->IsEmpty();
    if (!isThere) {
        eventfd_t ignored = 0;
        eventfd_read(gState->wake, &ignored);
    }
    return isThere ? static_cast<xcb_generic_event_t*>(Bytes(kEvent)) : nullptr;
}
int PollForReply(xcb_connection_t*, unsigned, void** reply, xcb_generic_error_t** error) {
    const int kind = gState->isGone ? 3 : gState->input->Byte() % 8;
    *reply = kind < 6 && kind != 3 ? NewReply() : nullptr;
    *error = kind == 3 ? static_cast<xcb_generic_error_t*>(std::calloc(1, sizeof(xcb_generic_error_t))) : nullptr;
    return kind < 6 && !(gState->input->IsEmpty() && *reply == nullptr && *error == nullptr) ? 1 : 0;
}
void DiscardReply(xcb_connection_t*, unsigned) {}
xcb_void_cookie_t ForceSaver(xcb_connection_t*, std::uint8_t) {
    return Next<xcb_void_cookie_t>();
}
xcb_screensaver_query_info_cookie_t QueryInfo(xcb_connection_t*, xcb_drawable_t) {
    return Next<xcb_screensaver_query_info_cookie_t>();
}
xcb_void_cookie_t SelectInput(xcb_connection_t*, xcb_drawable_t, std::uint32_t) {
    return Next<xcb_void_cookie_t>();
}
xcb_dpms_info_cookie_t PowerInfo(xcb_connection_t*) {
    ++gState->powerQuestions;
    return Next<xcb_dpms_info_cookie_t>();
}
xcb_void_cookie_t ForceLevel(xcb_connection_t*, std::uint16_t) {
    return Next<xcb_void_cookie_t>();
}
xcb_res_query_client_ids_cookie_t QueryClients(xcb_connection_t*, std::uint32_t, const xcb_res_client_id_spec_t*) {
    return Next<xcb_res_query_client_ids_cookie_t>();
}

xcb_extension_t gExtension{};

/// A stand-in must be of the very type of what it stands in for.
template <typename Function>
void* Symbol(Function* function, Function*) {
    return reinterpret_cast<void*>(function);
}

const std::map<std::string, void*>& Symbols() {
    static const std::map<std::string, void*> symbols{
        {"xcb_connect", Symbol(Connect, xcb_connect)},
        {"xcb_disconnect", Symbol(Disconnect, xcb_disconnect)},
        {"xcb_connection_has_error", Symbol(HasError, xcb_connection_has_error)},
        {"xcb_get_file_descriptor", Symbol(FileDescriptor, xcb_get_file_descriptor)},
        {"xcb_get_setup", Symbol(Setup, xcb_get_setup)},
        {"xcb_setup_roots_iterator", Symbol(Roots, xcb_setup_roots_iterator)},
        {"xcb_screen_next", Symbol(NextScreen, xcb_screen_next)},
        {"xcb_get_extension_data", Symbol(Extension, xcb_get_extension_data)},
        {"xcb_intern_atom", Symbol(InternAtom, xcb_intern_atom)},
        {"xcb_intern_atom_reply", Symbol(AtomReply, xcb_intern_atom_reply)},
        {"xcb_change_window_attributes", Symbol(ChangeAttributes, xcb_change_window_attributes)},
        {"xcb_get_window_attributes", Symbol(Attributes, xcb_get_window_attributes)},
        {"xcb_get_property", Symbol(Property, xcb_get_property)},
        {"xcb_get_property_value", Symbol(PropertyValue, xcb_get_property_value)},
        {"xcb_get_property_value_length", Symbol(PropertyLength, xcb_get_property_value_length)},
        {"xcb_flush", Symbol(Flush, xcb_flush)},
        {"xcb_poll_for_event", Symbol(NextEvent, xcb_poll_for_event)},
        {"xcb_poll_for_reply", Symbol(PollForReply, xcb_poll_for_reply)},
        {"xcb_discard_reply", Symbol(DiscardReply, xcb_discard_reply)},
        {"xcb_force_screen_saver", Symbol(ForceSaver, xcb_force_screen_saver)},
        {"xcb_screensaver_query_info", Symbol(QueryInfo, xcb_screensaver_query_info)},
        {"xcb_screensaver_select_input", Symbol(SelectInput, xcb_screensaver_select_input)},
        {"xcb_dpms_info", Symbol(PowerInfo, xcb_dpms_info)},
        {"xcb_dpms_force_level", Symbol(ForceLevel, xcb_dpms_force_level)},
        {"xcb_res_query_client_ids", Symbol(QueryClients, xcb_res_query_client_ids)},
        {"xcb_screensaver_id", &gExtension},
        {"xcb_dpms_id", &gExtension},
        {"xcb_res_id", &gExtension},
    };
    return symbols;
}

void* Find(const char* name) {
    fuzz::Require(Symbols().count(name) != 0, "a function of the library has a stand-in");
    return Symbols().at(name);
}

int RunNow(pthread_t* thread, void* (*entry)(void*), void* argument) {
    *thread = pthread_self();
    entry(argument);
    return 0;
}

}  // namespace

#ifdef __clang__
#define UNCHECKED __attribute__((no_sanitize("address", "undefined", "coverage")))
#else
#define UNCHECKED
#endif

extern "C" {
void* __real_dlopen(const char* file, int mode);
void* __real_dlsym(void* library, const char* name);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t*, void* (*entry)(void*), void* argument);
int __real_pthread_detach(pthread_t);
void* __wrap_dlopen(const char* file, int mode);
void* __wrap_dlsym(void* library, const char* name);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* argument);
int __wrap_pthread_detach(pthread_t thread);
int __wrap_posix_spawnp(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, char* const*,
                        char* const*);
}

// A sanitizer's runtime may be linked into the program: what it looks up and starts is none of a run's business, and
// happens before anything can be checked.
void* __wrap_dlopen(const char* file, int mode) {
    return gState != nullptr ? &gExtension : __real_dlopen(file, mode);
}
UNCHECKED void* __wrap_dlsym(void* library, const char* name) {
    return library == &gExtension ? Find(name) : __real_dlsym(library, name);
}
// What has a thread of its own here only waits for the server, which is never waited for.
UNCHECKED int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                                    void* argument) {
    return gState != nullptr ? RunNow(thread, entry, argument)
                             : __real_pthread_create(thread, attributes, entry, argument);
}
UNCHECKED int __wrap_pthread_detach(pthread_t thread) {
    return gState != nullptr ? 0 : __real_pthread_detach(thread);
}
int __wrap_posix_spawnp(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, char* const*,
                        char* const*) {
    return ENOENT;
}

namespace fuzz {

X11Server::X11Server(Input& input) {
    gState = new State{&input, eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
    gState->screen.root = input.Take<std::uint32_t>();
    const std::uint8_t screens = input.Byte();
    gState->screens = screens % 8 == 7 ? 0 : screens % 3 + 1;
    gState->extension.present = input.Byte();
    gState->extension.first_event = input.Byte();
}

X11Server::~X11Server() {
    close(gState->wake);
    delete gState;
    gState = nullptr;
}

void X11Server::Say() const {
    eventfd_write(gState->wake, 1);
}

void X11Server::HangUp() const {
    gState->isGone = true;
    Say();
}

unsigned X11Server::PowerQuestions() const {
    return gState->powerQuestions;
}

}  // namespace fuzz
