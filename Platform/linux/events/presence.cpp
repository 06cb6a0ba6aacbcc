#include "events/presence.h"

#include <map>

#include "platform/dlog.h"

namespace {

// How many parts on this events thread miss a server.
int& Missed(const std::string& server) {
    thread_local std::map<std::string, int> missed;
    return missed[server];
}

}  // namespace

Presence::~Presence() {
    if (isMissing_) {
        --Missed(server_);
    }
}

void Presence::Missing(const std::string& why) {
    if (!isMissing_ && ++Missed(server_) == 1) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: not there (%s); what needs it waits for it", server_.c_str(),
                     why.c_str());
    }
    isMissing_ = true;
}

void Presence::There() {
    if (isMissing_ && --Missed(server_) == 0) {
        __dlog_print(LOG_ID_MAIN, DLOG_INFO, "QVXD", "%s: there", server_.c_str());
    }
    isMissing_ = false;
}
