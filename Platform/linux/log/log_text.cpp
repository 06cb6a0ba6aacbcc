#include "log/log_text.h"

#include <glib.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {
constexpr std::string_view kCutMark = " [cut]";
constexpr size_t kRoom = LogText::kCapacity - kCutMark.size() - 1;  // one more for the line's end

bool IsPlain(char c) {
    return c >= ' ' && c <= '~';
}

// Nearly every message is plain from end to end, so that it is looked at and copied as a whole.
size_t PlainLength(const char* text, size_t length) {
    return static_cast<size_t>(std::find_if_not(text, text + length, IsPlain) - text);
}

// The length of the printable character at text; 0 where there is none.
size_t PrintableLength(const char* text, size_t length) {
    const gunichar c = g_utf8_get_char_validated(text, static_cast<gssize>(length));
    const bool valid = c != static_cast<gunichar>(-1) && c != static_cast<gunichar>(-2);
    return valid && !g_unichar_iscntrl(c) ? static_cast<size_t>(g_unichar_to_utf8(c, nullptr)) : 0;
}
}  // namespace

void LogText::Append(const char* text, size_t length) {
    for (size_t i = 0; i < length && !cut_;) {
        const size_t plain = PlainLength(text + i, std::min(length - i, kRoom - size_));
        const size_t width = plain > 0 ? plain : PrintableLength(text + i, length - i);
        if (width == 0) {
            AppendByte(static_cast<unsigned char>(text[i]));
        } else {
            Put(text + i, width);
        }
        i += std::max<size_t>(width, 1);
    }
}

void LogText::Append(const char* text) {
    Append(text, std::strlen(text));
}

void LogText::AppendByte(unsigned char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (byte == '\n' || byte == '\t' || byte == '\r') {
        const char escape[] = {'\\', byte == '\n' ? 'n' : byte == '\t' ? 't' : 'r'};
        Put(escape, sizeof escape);
        return;
    }
    const char escape[] = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    Put(escape, sizeof escape);
}

void LogText::Put(const char* bytes, size_t count) {
    if (size_ + count > kRoom) {
        cut_ = true;
        bytes = kCutMark.data();
        count = kCutMark.size();
    }
    std::copy_n(bytes, count, data_ + size_);
    size_ += count;
}

void LogText::EndLine() {
    cut_ = true;
    data_[size_++] = '\n';
}
