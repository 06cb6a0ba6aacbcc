#include "screensaver/x11_saver.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace {

constexpr int kNumberBits = 32;
constexpr int kEventTypes = 0x7f;  // without the mark of an event that another client has sent

// The program's own copy of the signal mask would block everything, and its output would end up in our log.
pid_t Spawn(const char* const* arguments) {
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    pid_t pid = -1;
    const int result =
        posix_spawnp(&pid, arguments[0], &files, &attributes, const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    return result == 0 ? pid : -1;
}

}  // namespace

X11Saver::X11Saver(GMainContext* context, Observer observer)
    : context_(context),
      observer_(std::move(observer)),
      display_(context, {[this] { OnUp(); }, [this](const xcb_generic_event_t& event) { OnEvent(event); },
                         [this] { OnDown(); }}) {
    if (X11Display::IsOffered()) {
        display_.Start();
    }
}

void X11Saver::OnUp() {
    ListenToServer();
    ReadProgramState();
    observer_.onChange();
    observer_.onFound(*this);
}

void X11Saver::OnDown() {
    isServerBlanked_ = false;
    isProgramThere_ = false;
    isProgramBlanked_ = false;
    observer_.onChange();
}

void X11Saver::ListenToServer() {
    const Xcb& xcb = display_.Functions();
    const xcb_query_extension_reply_t* extension = display_.Extension(xcb.screensaver);
    noticeType_ = extension == nullptr ? -1 : extension->first_event + XCB_SCREENSAVER_NOTIFY;
    if (extension == nullptr) {
        return;
    }
    xcb.xcb_screensaver_select_input(display_.Connection(), display_.Server().Root(),
                                     XCB_SCREENSAVER_EVENT_NOTIFY_MASK | XCB_SCREENSAVER_EVENT_CYCLE_MASK);
    const auto cookie = xcb.xcb_screensaver_query_info(display_.Connection(), display_.Server().Root());
    display_.Await(cookie.sequence, [this](const void* reply) {
        if (reply != nullptr) {
            SetServerState(static_cast<const xcb_screensaver_query_info_reply_t*>(reply)->state);
        }
    });
}

// Three numbers, of which the first is 0 while nothing is blanked. What a reply says of its value's length need not be
// true: it is as long as the reply itself.
void X11Saver::ReadProgramState() {
    const auto cookie =
        display_.Functions().xcb_get_property(display_.Connection(), 0, display_.Server().Root(),
                                              display_.Server().ScreensaverStatus(), XCB_ATOM_INTEGER, 0, 3);
    display_.Await(cookie.sequence, [this](const void* reply) {
        const auto* property = static_cast<const xcb_get_property_reply_t*>(reply);
        uint32_t state = 0;
        if (property != nullptr && property->format == kNumberBits && property->value_len > 0 && property->length > 0) {
            std::memcpy(&state, display_.Functions().xcb_get_property_value(property), sizeof state);
        }
        const bool wasThere = std::exchange(isProgramThere_, property != nullptr && property->format == kNumberBits);
        isProgramBlanked_ = state != 0;
        observer_.onChange();
        if (isProgramThere_ && !wasThere) {
            observer_.onFound(*this);
        }
    });
}

void X11Saver::SetServerState(int state) {
    isServerBlanked_ = state == XCB_SCREENSAVER_STATE_ON || state == XCB_SCREENSAVER_STATE_CYCLE;
    observer_.onChange();
}

void X11Saver::OnEvent(const xcb_generic_event_t& event) {
    const int type = event.response_type & kEventTypes;
    if (type == noticeType_) {
        SetServerState(reinterpret_cast<const xcb_screensaver_notify_event_t&>(event).state);
    } else if (type == XCB_PROPERTY_NOTIFY && reinterpret_cast<const xcb_property_notify_event_t&>(event).atom ==
                                                  display_.Server().ScreensaverStatus()) {
        ReadProgramState();
    }
}

void X11Saver::Reset() {
    if (!display_.IsUp()) {
        return;
    }
    display_.Functions().xcb_force_screen_saver(display_.Connection(), XCB_SCREEN_SAVER_RESET);
    if (isProgramThere_ && command_ == nullptr) {
        ResetProgram();
    }
}

// It watches devices by itself and takes no notice of the server's idle time; the same command ends its saver and
// starts its own idle time anew.
void X11Saver::ResetProgram() {
    static constexpr const char* kCommand[] = {"xscreensaver-command", "-deactivate", nullptr};
    const pid_t pid = Spawn(kCommand);
    if (pid < 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD",
                     "screensaver: xscreensaver-command cannot be run; xscreensaver takes no notice of pads");
        return;
    }
    command_ = std::make_unique<PidWatch>(context_, pid, [this, pid] {
        waitpid(pid, nullptr, WNOHANG);
        command_.reset();
    });
}
