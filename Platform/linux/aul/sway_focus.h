#ifndef PLATFORM_LINUX_AUL_SWAY_FOCUS_H
#define PLATFORM_LINUX_AUL_SWAY_FOCUS_H

#include <glib.h>

#include <cstdint>
#include <string>

#include "aul/focus_source.h"
#include "events/comeback.h"
#include "events/context_source.h"

namespace Json {
class Value;
}

namespace aul {

/// The focus as sway tells it, or another compositor that speaks sway's IPC protocol and names processes. (i3 names
/// only X11 windows; X11Focus serves it.)
class SwayFocus : public FocusSource {
public:
    /// The path is that of the socket. When nobody listens there any more, a restarted sway is found by its own name
    /// for the socket, in the same directory.
    SwayFocus(GMainContext* context, std::string socketPath, Function onFocus);
    ~SwayFocus() override;

private:
    void Connect();
    bool ConnectToAny();
    void Lose(const std::string& why);
    void Close();
    void Read();
    bool TakeMessage();
    void Handle(uint32_t type, const Json::Value& body);
    void HandleWindow(const Json::Value& event);
    void AskTree();
    bool Send(uint32_t type, const std::string& body);
    void Report(const Json::Value& container);

    GMainContext* context_;
    const std::string path_;
    const Function onFocus_;
    Comeback comeback_;
    int socket_ = -1;
    ContextSource readable_;
    std::string received_;
    pid_t focused_ = 0;
};

}  // namespace aul

#endif
