#include "display/wayland_message.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kWord = sizeof(uint32_t);
constexpr size_t kLengthAt = kWord;

size_t Padded(size_t size) {
    return (size + kWord - 1) / kWord * kWord;
}

}  // namespace

WaylandRequest::WaylandRequest(uint32_t object, uint16_t opcode) : opcode_(opcode) {
    Add(object);
    Add(0);
}

WaylandRequest& WaylandRequest::Add(uint32_t word) {
    char bytes[kWord];
    std::memcpy(bytes, &word, kWord);
    bytes_.append(bytes, kWord);
    return *this;
}

WaylandRequest& WaylandRequest::Add(const std::string& text) {
    const size_t size = text.size() + 1;
    Add(static_cast<uint32_t>(size));
    bytes_ += text;
    bytes_.append(Padded(size) - text.size(), '\0');
    return *this;
}

const std::string& WaylandRequest::Bytes() {
    const uint32_t word = static_cast<uint32_t>(bytes_.size()) << 16 | opcode_;
    std::memcpy(&bytes_[kLengthAt], &word, kWord);
    return bytes_;
}

uint32_t WaylandArguments::Word() {
    uint32_t word = 0;
    if (left_ >= kWord) {
        std::memcpy(&word, data_, kWord);
        data_ += kWord;
        left_ -= kWord;
    }
    return word;
}

std::string WaylandArguments::Text() {
    const size_t size = std::min<size_t>(Word(), left_);
    std::string text(data_, strnlen(data_, size));
    const size_t step = std::min(Padded(size), left_);
    data_ += step;
    left_ -= step;
    return text;
}
