#include "display/x11_display.h"

#include <cstdlib>
#include <utility>

namespace {

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

}  // namespace

X11Display::X11Display(GMainContext* context, Handlers handlers) : context_(context), handlers_(std::move(handlers)) {}

void X11Display::Start() {
    connection_ = X11Connection::Shared(context_);
    connection_->Join(*this);
    if (IsUp()) {
        OnConnected();
    }
}

// Replies that nobody takes would be kept as long as the connection.
X11Display::~X11Display() {
    if (connection_ != nullptr) {
        connection_->Leave(*this);
    }
    if (IsUp()) {
        for (const Question& question : questions_) {
            Functions().xcb_discard_reply(Connection(), question.sequence);
        }
    }
}

bool X11Display::IsOffered() {
    return IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY");
}

const xcb_query_extension_reply_t* X11Display::Extension(xcb_extension_t* extension) const {
    const auto* reply = extension != nullptr ? Functions().xcb_get_extension_data(Connection(), extension) : nullptr;
    return reply != nullptr && reply->present != 0 ? reply : nullptr;
}

void X11Display::Await(unsigned sequence, ReplyFunction onReply) {
    questions_.push_back({sequence, std::move(onReply)});
}

// Both count requests: an event tells which one was the last that the server had handled. The count starts anew some
// day.
bool X11Display::IsAskedBefore(const xcb_generic_event_t* event) const {
    return !questions_.empty() &&
           (event == nullptr || static_cast<int32_t>(event->full_sequence - questions_.front().sequence) >= 0);
}

bool X11Display::TakeReply(xcb_connection_t* connection, const xcb_generic_event_t* event) {
    void* data = nullptr;
    xcb_generic_error_t* problem = nullptr;
    if (!IsAskedBefore(event) ||
        Functions().xcb_poll_for_reply(connection, questions_.front().sequence, &data, &problem) == 0) {
        return false;
    }
    const std::unique_ptr<void, decltype(&std::free)> reply(data, std::free);
    const std::unique_ptr<void, decltype(&std::free)> error(problem, std::free);
    const ReplyFunction onReply = std::move(questions_.front().onReply);
    questions_.pop_front();
    onReply(reply.get());
    return true;
}

void X11Display::OnLost() {
    questions_.clear();
    handlers_.onDown();
}
