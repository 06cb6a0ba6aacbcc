#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "display/wayland_message.h"
#include "events/comeback.h"

/// The Wayland compositor of $WAYLAND_DISPLAY, which may be missing, come later, vanish and come back. The protocol is
/// spoken directly: what is needed of it is a few small requests, and nothing here may wait for a reply.
///
/// Threads  made, used and destroyed on the thread of the context; all functions given to it are called there. They may
///          not destroy it.
/// Errors   one message for all connections when the compositor is lost and one when it is back. A protocol error is
/// one
///          message that begins with the purpose; the compositor is not connected to again then.
class WaylandDisplay {
public:
    struct Handlers {
        std::function<void(uint32_t name, const std::string& interface, uint32_t version)> onGlobal;
        std::function<void(uint32_t name)> onGlobalGone;
        std::function<void()> onUp;  ///< all globals of the start were told
        std::function<void()> onDown;
    };
    using EventFunction = std::function<void(uint16_t opcode, WaylandArguments& arguments)>;

    WaylandDisplay(GMainContext* context, const char* purpose, Handlers handlers);
    ~WaylandDisplay();
    /// Connects, now or when that becomes possible; call it once.
    void Start();
    WaylandDisplay(const WaylandDisplay&) = delete;
    WaylandDisplay& operator=(const WaylandDisplay&) = delete;

    /// Whether this is a Wayland session at all, connected or not.
    static bool IsOffered();

    bool IsUp() const { return isUp_; }
    /// The following need a connection: call them from onGlobal on, until onDown.
    uint32_t Bind(uint32_t name, const std::string& interface, uint32_t version, EventFunction onEvent = {});
    /// A number for an object that the next request makes.
    uint32_t NewObject(EventFunction onEvent = {});
    void Forget(uint32_t object) { objects_.erase(object); }
    /// A descriptor goes along with the request and stays the caller's.
    void Send(WaylandRequest& request, int descriptor = -1);
    void Send(WaylandRequest&& request) { Send(request); }

private:
    void Connect();
    void Begin();
    void Lose(const char* why);
    void Close();
    bool Read();
    void Process();
    void Deliver(uint32_t object, uint16_t opcode, WaylandArguments& arguments);
    void OnDisplayEvent(uint16_t opcode, WaylandArguments& arguments);
    void OnRegistryEvent(uint16_t opcode, WaylandArguments& arguments);
    void OnAllGlobalsTold();

    static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);

    GMainContext* const context_;
    const Handlers handlers_;
    const std::string purpose_;
    int socket_ = -1;
    GSource* source_ = nullptr;
    bool isUp_ = false;
    bool isBroken_ = false;  ///< a request could not be sent: found out at the next turn of the loop
    uint32_t lastObject_ = 0;
    std::map<uint32_t, EventFunction> objects_;
    std::string received_;
    Comeback comeback_;
};
