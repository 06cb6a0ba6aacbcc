#include "gamepad/pad_identity.h"

#include <glib.h>

#include <array>
#include <cstdio>

namespace gamepad {
namespace {

std::string Text(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

/// ".../input7/event3": both numbers are new at each connection, the folder around them is not.
std::string FolderOf(const std::string& syspath) {
    const auto node = syspath.rfind("/input");
    return node == std::string::npos ? syspath : syspath.substr(0, node);
}

std::string PlaceOf(const libevdev* device, const std::string& id_path, const std::string& syspath) {
    for (const std::string& place : {Text(libevdev_get_uniq(device)), Text(libevdev_get_phys(device)), id_path}) {
        if (!place.empty()) {
            return place;
        }
    }
    return FolderOf(syspath);
}

/// At most so many bytes, and no character cut in two.
std::string Cut(const std::string& text, std::size_t longest) {
    if (text.size() <= longest) {
        return text;
    }
    const char* end = g_utf8_find_prev_char(text.c_str(), text.c_str() + longest + 1);
    return text.substr(0, end == nullptr ? 0 : static_cast<std::size_t>(end - text.c_str()));
}

}  // namespace

std::string Printable(const std::string& text) {
    gchar* valid = g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size()));
    std::string printable;
    for (const gchar* at = valid; *at != '\0'; at = g_utf8_next_char(at)) {
        if (g_unichar_isprint(g_utf8_get_char(at))) {
            printable.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        } else {
            printable += '?';
        }
    }
    g_free(valid);
    return printable;
}

std::string BaseUid(const libevdev* device, const std::string& id_path, const std::string& syspath) {
    std::array<char, 32> prefix{};
    const auto id = [](int number) { return static_cast<unsigned>(number) & 0xFFFFU; };
    std::snprintf(prefix.data(), prefix.size(), "%04x:%04x:%04x:", id(libevdev_get_id_bustype(device)),
                  id(libevdev_get_id_vendor(device)), id(libevdev_get_id_product(device)));
    return Cut(prefix.data() + Printable(PlaceOf(device, id_path, syspath)), kLongestUid);
}

std::string UniqueUid(const std::string& base, const std::function<bool(const std::string&)>& is_taken) {
    std::string uid = Cut(base, kLongestUid);
    for (int number = 2; is_taken(uid); ++number) {
        const std::string suffix = "-" + std::to_string(number);
        uid = Cut(base, kLongestUid - suffix.size()) + suffix;
    }
    return uid;
}

}  // namespace gamepad
