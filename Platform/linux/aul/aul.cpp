#include "platform/aul.h"

#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "aul/focus_state.h"
#include "aul/focus_teller.h"
#include "aul/on_screen_keyboard.h"
#include "bus/bus.h"
#include "events/events_thread.h"
#include "locks/locks.h"
#include "platform/dlog.h"

namespace {

using aul::FocusState;
using aul::FocusTeller;
using aul::OnScreenKeyboard;

constexpr int kShown = 3;
constexpr int kFocus = 5;
constexpr int kHidden = 7;

const Bus::Member kSqueekboard{"sm.puri.OSK0", "/sm/puri/OSK0", "sm.puri.OSK0", "Visible"};
const Bus::Member kOnboard{"org.onboard.Onboard", "/org/onboard/Onboard/Keyboard", "org.onboard.Onboard.Keyboard",
                           "Visible"};

/// Everything that one listener is told. Made anywhere; all else on the thread "platform-events".
class Signals {
public:
    Signals(aul_app_status_fn handler, void* data) : handler_(handler), data_(data) {}

    void Start(GMainContext* context) {
        teller_ = std::make_unique<FocusTeller>(context, [this](pid_t pid) { Tell(pid, kFocus); });
        const auto tellKeyboard = [this](pid_t pid, bool isShown) { Tell(pid, isShown ? kShown : kHidden); };
        bus_ = std::make_unique<Bus>(context, Bus::Kind::kSession);
        squeekboard_ = std::make_unique<OnScreenKeyboard>(*bus_, kSqueekboard, tellKeyboard);
        onboard_ = std::make_unique<OnScreenKeyboard>(*bus_, kOnboard, tellKeyboard);
    }
    void Silence() { handler_ = nullptr; }

private:
    void Tell(pid_t pid, int status) const {
        if (handler_ != nullptr) {
            handler_(pid, status, data_);
        }
    }

    aul_app_status_fn handler_;
    void* const data_;
    std::unique_ptr<FocusTeller> teller_;
    std::unique_ptr<OnScreenKeyboard> squeekboard_;
    std::unique_ptr<OnScreenKeyboard> onboard_;
    std::unique_ptr<Bus> bus_;  // the last, so that it goes first
};

struct Listening {
    EventsThread thread;
    std::shared_ptr<Signals> signals;
};

Lock listeningLock;
std::unique_ptr<Listening> listening GUARDED_BY(listeningLock);

// What is told by now is told to its end, unless this is called from there; nothing is told afterwards. What told it is
// given back before this returns, or later where it is what calls.
void Stop() {
    std::unique_ptr<Listening> ended;
    {
        const Hold hold(listeningLock);
        ended = std::move(listening);
    }
    if (ended != nullptr) {
        ended->thread.Run([&ended] { ended->signals->Silence(); });
        ended->thread.Post([signals = std::move(ended->signals)]() mutable {
            signals.reset();
            FocusState::TheOne().Clear();
        });
        ended->thread.Run([] {});
    }
}

bool Start(aul_app_status_fn handler, void* data) {
    auto started = std::make_unique<Listening>();
    started->signals = std::make_shared<Signals>(handler, data);
    GMainContext* context = started->thread.Context();
    if (!started->thread.Post([signals = started->signals, context] { signals->Start(context); })) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "no thread for the focus: which application has it is not known");
        return false;
    }
    const Hold hold(listeningLock);
    listening = std::move(started);
    return true;
}

// Nothing but a lack of memory can come here; C callers are not told of it by an exception.
int WithoutExceptions(const std::function<int()>& work) {
    try {
        return work();
    } catch (const std::exception&) {
        return -1;
    }
}

int CopyAppId(int pid, char* appid, size_t size) {
    const std::string id = pid > 0 ? FocusState::TheOne().AppId(pid) : std::string();
    if (id.empty() || id.size() >= size) {
        return -1;
    }
    std::memcpy(appid, id.c_str(), id.size() + 1);
    return 0;
}

}  // namespace

int aul_listen_app_status_signal(aul_app_status_fn handler, void* data) {
    return WithoutExceptions([=] {
        Stop();
        return handler == nullptr || Start(handler, data) ? 0 : -1;
    });
}

int aul_app_get_appid_bypid(int pid, char* appid, int length) {
    if (appid == nullptr || length <= 0) {
        return -1;
    }
    appid[0] = '\0';
    return WithoutExceptions([=] { return CopyAppId(pid, appid, static_cast<size_t>(length)); });
}

int aul_app_get_status(const char* appid) {
    if (appid == nullptr) {
        return -1;
    }
    return WithoutExceptions([=] { return FocusState::TheOne().Status(appid); });
}
