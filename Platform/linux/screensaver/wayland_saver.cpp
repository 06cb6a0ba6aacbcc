#include "screensaver/wayland_saver.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace {

constexpr char kSeat[] = "wl_seat";
constexpr char kManager[] = "zwp_virtual_keyboard_manager_v1";
constexpr uint16_t kCreateVirtualKeyboard = 0;
constexpr uint16_t kKeymap = 0;
constexpr uint16_t kKey = 1;
constexpr uint32_t kXkbText = 1;
constexpr uint32_t kReleased = 0;

// A keyboard must have a map before it is used; ours needs none.
constexpr char kEmptyKeymap[] =
    "xkb_keymap { xkb_keycodes { }; xkb_types { }; xkb_compatibility { }; xkb_symbols { }; };";

int KeymapDescriptor() {
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    if (file >= 0 && write(file, kEmptyKeymap, sizeof kEmptyKeymap) != static_cast<ssize_t>(sizeof kEmptyKeymap)) {
        close(file);
        return -1;
    }
    return file;
}

}  // namespace

WaylandSaver::WaylandSaver(GMainContext* context, Observer observer)
    : observer_(std::move(observer)),
      display_(context, "screensaver",
               {[this](uint32_t name, const std::string& interface, uint32_t) { OnGlobal(name, interface); },
                [this](uint32_t name) { OnGlobalGone(name); }, [this] { OnUp(); }, [this] { OnDown(); }}) {
    display_.Start();
}

void WaylandSaver::OnGlobal(uint32_t name, const std::string& interface) {
    if (interface == kSeat && seatName_ == 0) {
        seatName_ = name;
    } else if (interface == kManager) {
        managerName_ = name;
    }
}

void WaylandSaver::OnGlobalGone(uint32_t name) {
    if (name == seatName_ || name == managerName_) {
        (name == seatName_ ? seatName_ : managerName_) = 0;
        keyboard_ = 0;
        observer_.onChange();
    }
}

void WaylandSaver::OnUp() {
    observer_.onChange();
    if (CanBeReset()) {
        observer_.onFound(*this);
    }
}

void WaylandSaver::OnDown() {
    seatName_ = managerName_ = keyboard_ = 0;
    observer_.onChange();
}

bool WaylandSaver::MakeKeyboard() {
    const int keymap = KeymapDescriptor();
    if (keymap < 0) {
        return false;
    }
    const uint32_t seat = display_.Bind(seatName_, kSeat, 1);
    const uint32_t manager = display_.Bind(managerName_, kManager, 1);
    keyboard_ = display_.NewObject();
    display_.Send(WaylandRequest(manager, kCreateVirtualKeyboard).Add(seat).Add(keyboard_));
    display_.Send(WaylandRequest(keyboard_, kKeymap).Add(kXkbText).Add(uint32_t{sizeof kEmptyKeymap}), keymap);
    close(keymap);
    return true;
}

// The release of a key that was never pressed: the compositor counts it as activity of the user, but no program ever
// gets to see it, since none got the press.
void WaylandSaver::Reset() {
    if (CanBeReset() && (keyboard_ != 0 || MakeKeyboard())) {
        const auto now = static_cast<uint32_t>(g_get_monotonic_time() / 1000);
        display_.Send(WaylandRequest(keyboard_, kKey).Add(now).Add(uint32_t{KEY_UNKNOWN}).Add(kReleased));
    }
}
