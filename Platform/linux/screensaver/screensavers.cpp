#include "screensaver/screensavers.h"

#include <algorithm>
#include <utility>

#include "events/events_thread.h"
#include "screensaver/bus_saver.h"
#include "screensaver/x11_saver.h"

namespace {

constexpr const char* kNames[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.mate.ScreenSaver",
                                  "org.cinnamon.ScreenSaver"};
constexpr gint64 kSearchUs = 5000000;
constexpr unsigned kLingerSeconds = 60;  // twice the time between two resets while a pad is in use

}  // namespace

Screensavers::Screensavers(GMainContext* context, Observer observer)
    : context_(context), observer_(std::move(observer)), bus_(std::make_unique<Bus>(context, Bus::Kind::kSession)) {
    const Saver::Observer mine{[this] { Update(); }, [this](Saver& saver) { OnFound(saver); }};
    for (const char* name : kNames) {
        savers_.push_back(std::make_unique<BusSaver>(*bus_, name, mine));
    }
    savers_.push_back(std::make_unique<X11Saver>(context, mine));
    auto wayland = std::make_unique<WaylandSaver>(context, mine);
    wayland_ = wayland.get();
    savers_.push_back(std::move(wayland));
    Update();
}

Screensavers::~Screensavers() {
    StopTimer();
}

void Screensavers::Update() {
    const bool isOn = std::any_of(savers_.begin(), savers_.end(), [](const auto& saver) { return saver->IsOn(); });
    if (std::exchange(isOn_, isOn) != isOn) {
        observer_.onState(isOn);
    }
    const bool isHelpless = IsHelpless();
    if (std::exchange(isHelpless_, isHelpless) != isHelpless) {
        observer_.onHelplessness(isHelpless);
    }
}

// Where there is no display at all, nothing can be left showing.
bool Screensavers::IsHelpless() const {
    return wayland_ != nullptr && wayland_->IsHelpless() &&
           std::none_of(savers_.begin(), savers_.end(), [](const auto& saver) { return saver->CanBeReset(); });
}

std::vector<std::string> Screensavers::Reached() const {
    std::vector<std::string> names;
    for (const auto& saver : savers_) {
        if (saver->CanBeReset()) {
            names.push_back(saver->Name());
        }
    }
    return names;
}

void Screensavers::OnFound(Saver& saver) {
    if (g_get_monotonic_time() < askedUntil_) {
        saver.Reset();
    }
}

void Screensavers::Reset() {
    askedUntil_ = g_get_monotonic_time() + kSearchUs;
    for (const auto& saver : savers_) {
        saver->Reset();
    }
}

void Screensavers::ResetAndLinger() {
    Reset();
    StopTimer();
    timer_ = g_timeout_source_new_seconds(kLingerSeconds);
    g_source_set_callback(timer_, OnTime, this, nullptr);
    g_source_attach(timer_, context_);
}

void Screensavers::StopTimer() {
    if (timer_ != nullptr) {
        g_source_destroy(timer_);
        g_source_unref(timer_);
        timer_ = nullptr;
    }
}

gboolean Screensavers::OnTime(gpointer self) {
    DoWork([self] { static_cast<Screensavers*>(self)->observer_.onUnused(); });
    return G_SOURCE_REMOVE;
}
