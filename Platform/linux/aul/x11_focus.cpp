#include "aul/x11_focus.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace aul {
namespace {

// A window manager that moves the focus may publish "none" in between, for some milliseconds.
constexpr unsigned kNobodyAfterMs = 100;
constexpr uint32_t kLongestClassInWords = 64;

// Number `index` of the reply's data after its fixed part; 0 where it has no such.
uint32_t WordOf(const void* reply, size_t index) {
    uint32_t word = 0;
    if (index < static_cast<const xcb_generic_reply_t*>(reply)->length) {
        const auto* data = static_cast<const char*>(reply) + sizeof(xcb_get_property_reply_t);
        std::memcpy(&word, data + index * sizeof word, sizeof word);
    }
    return word;
}

// The functions that follow take null for a request that failed.
uint32_t WordOfProperty(const void* reply) {
    const auto* property = static_cast<const xcb_get_property_reply_t*>(reply);
    return property != nullptr && property->format == 32 && property->value_len > 0 ? WordOf(reply, 0) : 0;
}

std::string UpToZero(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

// The second of WM_CLASS's two texts: the class; the first, the instance, where there is no second.
std::string ClassOf(const void* reply) {
    const auto* property = static_cast<const xcb_get_property_reply_t*>(reply);
    if (property == nullptr || property->format != 8) {
        return {};
    }
    const size_t size = std::min<size_t>(property->value_len, size_t{property->length} * 4);
    const std::string texts(reinterpret_cast<const char*>(property + 1), size);
    std::string instance = UpToZero(texts);
    std::string name = instance.size() < size ? UpToZero(texts.substr(instance.size() + 1)) : std::string();
    return name.empty() ? instance : name;
}

// A list of {client, mask, size in bytes, values}.
pid_t ClientPid(const void* reply) {
    const auto* ids = static_cast<const xcb_res_query_client_ids_reply_t*>(reply);
    size_t at = 0;
    for (uint32_t i = 0; ids != nullptr && i < ids->num_ids && at + 3 < ids->length; ++i) {
        const bool isPid = (WordOf(reply, at + 1) & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
        const size_t words = WordOf(reply, at + 2) / 4;
        if (isPid && words > 0) {
            return std::max(static_cast<pid_t>(WordOf(reply, at + 3)), 0);
        }
        at += 3 + words;
    }
    return 0;
}

}  // namespace

X11Focus::X11Focus(GMainContext* context, Kind kind, Function onFocus)
    : context_(context),
      kind_(kind),
      onFocus_(std::move(onFocus)),
      display_(context, {[this] { AskForWindow(); }, [this](const xcb_generic_event_t& event) { OnEvent(event); },
                         [this] { OnDown(); }}) {
    display_.Start();
}

// The display may have others who use it.
X11Focus::~X11Focus() {
    if (display_.IsUp()) {
        Follow(XCB_WINDOW_NONE);
    }
}

void X11Focus::OnDown() {
    nobody_.Stop();
    isAsking_ = false;
    followed_ = XCB_WINDOW_NONE;
    onFocus_(std::nullopt);
}

void X11Focus::OnEvent(const xcb_generic_event_t& event) {
    if (IsOfInterest(event)) {
        AskForWindow();
    }
}

// A window manager may leave a window that is gone in the property, and say nothing.
bool X11Focus::IsOfInterest(const xcb_generic_event_t& event) const {
    switch (event.response_type & 0x7fU) {
        case XCB_PROPERTY_NOTIFY:
            return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == display_.Server().ActiveWindow();
        case XCB_DESTROY_NOTIFY:
        case XCB_UNMAP_NOTIFY:
        case XCB_MAP_NOTIFY:
            return true;
        default:
            return false;
    }
}

void X11Focus::AskForWindow() {
    isStale_ = isAsking_;
    if (isAsking_) {
        return;
    }
    isAsking_ = true;
    window_ = {};
    isShown_ = false;
    const X11Server& server = display_.Server();
    AskForProperty(server.Root(), server.ActiveWindow(), XCB_ATOM_WINDOW, 1, [this](const void* reply) {
        const xcb_window_t window = WordOfProperty(reply);
        // Following the root window would mean to hear no longer of its properties.
        if (window != XCB_WINDOW_NONE && window != display_.Server().Root()) {
            AskAbout(window);
        } else {
            Answered();
        }
    });
}

void X11Focus::Follow(xcb_window_t window) {
    if (window == followed_) {
        return;
    }
    const uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    const uint32_t ends = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    if (followed_ != XCB_WINDOW_NONE) {
        SelectEvents(followed_, none);
    }
    if (window != XCB_WINDOW_NONE) {
        SelectEvents(window, ends);
    }
    followed_ = window;
}

void X11Focus::SelectEvents(xcb_window_t window, uint32_t events) const {
    display_.Functions().xcb_change_window_attributes(display_.Connection(), window, XCB_CW_EVENT_MASK, &events);
}

// The last answer ends it: answers come in the order of the questions.
void X11Focus::AskAbout(xcb_window_t window) {
    Follow(window);
    const Xcb& xcb = display_.Functions();
    const X11Server& server = display_.Server();
    display_.Await(xcb.xcb_get_window_attributes(server.Connection(), window).sequence, [this](const void* reply) {
        const auto* attributes = static_cast<const xcb_get_window_attributes_reply_t*>(reply);
        isShown_ = attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    });
    if (display_.Extension(xcb.res) != nullptr) {
        const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        display_.Await(xcb.xcb_res_query_client_ids(server.Connection(), 1, &wanted).sequence,
                       [this](const void* reply) { window_.pid = ClientPid(reply); });
    }
    AskForProperty(window, server.WindowPid(), XCB_ATOM_CARDINAL, 1, [this](const void* reply) {
        if (window_.pid == 0) {
            window_.pid = std::max(static_cast<pid_t>(WordOfProperty(reply)), 0);
        }
    });
    AskForProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, kLongestClassInWords, [this](const void* reply) {
        window_.app = ClassOf(reply);
        Answered();
    });
}

void X11Focus::AskForProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint32_t words,
                              X11Display::ReplyFunction onReply) {
    const auto cookie =
        display_.Functions().xcb_get_property(display_.Connection(), /*_delete=*/0, window, property, type, 0, words);
    display_.Await(cookie.sequence, std::move(onReply));
}

// What has changed meanwhile is asked for anew, and only the last state is told.
void X11Focus::Answered() {
    isAsking_ = false;
    if (isStale_) {
        AskForWindow();
    } else if (window_.pid == 0 || !isShown_) {
        NobodyUnlessItChanges();
    } else {
        nobody_.Stop();
        onFocus_(window_);
    }
}

void X11Focus::NobodyUnlessItChanges() {
    nobody_.After(context_, kNobodyAfterMs, [this] {
        if (kind_ == Kind::kInsideWayland) {
            onFocus_(std::nullopt);
        } else {
            onFocus_(FocusedWindow{});
        }
    });
}

}  // namespace aul
