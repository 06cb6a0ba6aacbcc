#include "aul/x11_focus.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace aul {
namespace {

// A window manager that moves the focus may publish "none" in between, for some milliseconds.
constexpr unsigned kNobodyAfterMs = 100;
constexpr uint32_t kLongestClassInWords = 64;
constexpr char kSocketDirectory[] = "/tmp/.X11-unix/X";

// Empty for a display that is reached in another way.
std::string SocketOf(const std::string& display) {
    const size_t colon = display.rfind(':');
    const std::string host = display.substr(0, colon);
    if (colon == std::string::npos || (!host.empty() && host != "unix")) {
        return {};
    }
    return kSocketDirectory + display.substr(colon + 1, display.find('.', colon) - colon - 1);
}

// Number `index` of the reply's data after its fixed part; 0 where it has no such.
uint32_t WordOf(const xcb_generic_reply_t& reply, size_t index) {
    uint32_t word = 0;
    if (index < reply.length) {
        std::memcpy(&word,
                    reinterpret_cast<const char*>(&reply + 1) + (sizeof(xcb_get_property_reply_t) - sizeof reply) +
                        index * sizeof word,
                    sizeof word);
    }
    return word;
}

uint32_t WordOfProperty(const xcb_generic_reply_t& reply) {
    const auto& property = reinterpret_cast<const xcb_get_property_reply_t&>(reply);
    return property.format == 32 && property.value_len > 0 ? WordOf(reply, 0) : 0;
}

std::string UpToZero(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

// The second of WM_CLASS's two texts: the class; the first, the instance, where there is no second.
std::string ClassOf(const xcb_generic_reply_t& reply) {
    const auto& property = reinterpret_cast<const xcb_get_property_reply_t&>(reply);
    if (property.format != 8) {
        return {};
    }
    const size_t size = std::min<size_t>(property.value_len, size_t{reply.length} * 4);
    const std::string texts(reinterpret_cast<const char*>(&property + 1), size);
    std::string instance = UpToZero(texts);
    std::string name = instance.size() < size ? UpToZero(texts.substr(instance.size() + 1)) : std::string();
    return name.empty() ? instance : name;
}

// A list of {client, mask, size in bytes, values}.
pid_t ClientPid(const xcb_generic_reply_t& reply) {
    const uint32_t count = reinterpret_cast<const xcb_res_query_client_ids_reply_t&>(reply).num_ids;
    size_t at = 0;
    for (uint32_t i = 0; i < count && at + 3 < reply.length; ++i) {
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

X11Focus::Reply::~Reply() {
    std::free(data);
}

X11Focus::X11Focus(GMainContext* context, std::string display, Kind kind, Function onFocus)
    : context_(context),
      name_(std::move(display)),
      kind_(kind),
      onFocus_(std::move(onFocus)),
      comeback_(context, "X display " + name_, [this] { Connect(); }) {
    Connect();
}

X11Focus::~X11Focus() = default;

// Without its socket the server is not there, and no thread is needed to find that out.
void X11Focus::Connect() {
    const std::string socket = SocketOf(name_);
    if (!socket.empty() && access(socket.c_str(), F_OK) != 0) {
        Lose("no socket");
        return;
    }
    connector_ = std::make_unique<X11Connector>(
        context_, name_, [this](std::unique_ptr<X11Display> display) { Connected(std::move(display)); });
}

void X11Focus::Connected(std::unique_ptr<X11Display> display) {
    connector_.reset();
    if (display == nullptr) {
        Lose("no connection");
        return;
    }
    display_ = std::move(display);
    const XcbLibrary& xcb = display_->Xcb();
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb.changeWindowAttributes(display_->Connection(), display_->Root(), XCB_CW_EVENT_MASK, &events);
    readable_.WhenReadable(context_, xcb.getFileDescriptor(display_->Connection()), [this] { Read(); });
    comeback_.There();
    AskForWindow();
    Read();
}

void X11Focus::Lose(const std::string& why) {
    nobody_.Stop();
    readable_.Stop();
    display_.reset();
    windowRequest_.reset();
    answered_ = kQuestions;
    isStale_ = false;
    followed_ = XCB_WINDOW_NONE;
    comeback_.Gone(SocketOf(name_), why);
    onFocus_(std::nullopt);
}

// Whatever talks to the server may read what came from it meanwhile, which then does not make the descriptor readable
// any more. So it goes on until a whole round brings nothing.
void X11Focus::Read() {
    bool isBusy = true;
    while (isBusy) {
        isBusy = HandleEvents(/*onlyQueued=*/false);
        while (TakeReply()) {
            isBusy = true;
        }
        isBusy = HandleEvents(/*onlyQueued=*/true) || isBusy;
    }
    if (display_->Xcb().connectionHasError(display_->Connection()) != 0) {
        Lose("it ended");
    }
}

// True when there were any.
bool X11Focus::HandleEvents(bool onlyQueued) {
    const XcbLibrary& xcb = display_->Xcb();
    const auto next = onlyQueued ? xcb.pollForQueuedEvent : xcb.pollForEvent;
    bool isAny = false;
    while (xcb_generic_event_t* event = next(display_->Connection())) {
        isAny = true;
        if (IsOfInterest(*event)) {
            AskForWindow();
        }
        std::free(event);
    }
    return isAny;
}

// A window manager may leave a window that is gone in the property, and say nothing.
bool X11Focus::IsOfInterest(const xcb_generic_event_t& event) const {
    switch (event.response_type & 0x7fU) {
        case XCB_PROPERTY_NOTIFY:
            return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == display_->ActiveWindow();
        case XCB_DESTROY_NOTIFY:
        case XCB_UNMAP_NOTIFY:
        case XCB_MAP_NOTIFY:
            return true;
        default:
            return false;
    }
}

// True when there was one, and there may be more.
bool X11Focus::TakeReply() {
    Reply reply;
    if (windowRequest_ && Poll(*windowRequest_, reply)) {
        windowRequest_.reset();
        const uint32_t window = reply.data != nullptr ? WordOfProperty(*reply.data) : 0;
        if (window != 0) {
            AskAbout(window);
        } else {
            NobodyUnlessItChanges();
        }
        return true;
    }
    if (!windowRequest_ && answered_ < kQuestions && Poll(requests_[answered_], reply)) {
        TakeAnswer(static_cast<Question>(answered_), reply.data);
        ++answered_;
        if (answered_ == kQuestions) {
            Answered();
        }
        return true;
    }
    return false;
}

// False when it has not come yet; a request that failed, or was not made, is answered by null.
bool X11Focus::Poll(unsigned sequence, Reply& reply) const {
    if (sequence == 0) {
        return true;
    }
    xcb_generic_error_t* error = nullptr;
    void* data = nullptr;
    const bool isThere = display_->Xcb().pollForReply(display_->Connection(), sequence, &data, &error) != 0;
    reply.data = static_cast<xcb_generic_reply_t*>(data);
    std::free(error);
    return isThere;
}

void X11Focus::AskForWindow() {
    isStale_ = windowRequest_ || answered_ < kQuestions;
    if (!isStale_) {
        windowRequest_ = AskForProperty(display_->Root(), display_->ActiveWindow(), XCB_ATOM_WINDOW, 1);
        display_->Xcb().flush(display_->Connection());
    }
}

void X11Focus::Follow(xcb_window_t window) {
    if (window == followed_) {
        return;
    }
    const XcbLibrary& xcb = display_->Xcb();
    const uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    const uint32_t ends = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    if (followed_ != XCB_WINDOW_NONE) {
        xcb.changeWindowAttributes(display_->Connection(), followed_, XCB_CW_EVENT_MASK, &none);
    }
    xcb.changeWindowAttributes(display_->Connection(), window, XCB_CW_EVENT_MASK, &ends);
    followed_ = window;
}

void X11Focus::AskAbout(xcb_window_t window) {
    const XcbLibrary& xcb = display_->Xcb();
    Follow(window);
    requests_[kAttributes] = xcb.getWindowAttributes(display_->Connection(), window).sequence;
    requests_[kClient] = 0;
    if (display_->KnowsClients()) {
        const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        requests_[kClient] = xcb.resQueryClientIds(display_->Connection(), 1, &wanted).sequence;
    }
    requests_[kPid] = AskForProperty(window, display_->WmPid(), XCB_ATOM_CARDINAL, 1);
    requests_[kClass] = AskForProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, kLongestClassInWords);
    answered_ = 0;
    isShown_ = false;
    window_ = {};
    xcb.flush(display_->Connection());
}

unsigned X11Focus::AskForProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, uint32_t words) const {
    return display_->Xcb()
        .getProperty(display_->Connection(), /*_delete=*/0, window, property, type, 0, words)
        .sequence;
}

void X11Focus::TakeAnswer(Question question, const xcb_generic_reply_t* reply) {
    if (reply == nullptr) {
        return;
    }
    if (question == kAttributes) {
        const auto& attributes = reinterpret_cast<const xcb_get_window_attributes_reply_t&>(*reply);
        isShown_ = attributes.map_state == XCB_MAP_STATE_VIEWABLE;
    } else if (question == kClient) {
        window_.pid = ClientPid(*reply);
    } else if (question == kPid) {
        window_.pid = window_.pid != 0 ? window_.pid : std::max(static_cast<pid_t>(WordOfProperty(*reply)), 0);
    } else {
        window_.app = ClassOf(*reply);
    }
}

// What has changed meanwhile is asked for anew, and only the last state is told.
void X11Focus::Answered() {
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
    if (isStale_) {
        AskForWindow();
        return;
    }
    nobody_.After(context_, kNobodyAfterMs, [this] {
        if (kind_ == Kind::kInsideWayland) {
            onFocus_(std::nullopt);
        } else {
            onFocus_(FocusedWindow{});
        }
    });
}

}  // namespace aul
