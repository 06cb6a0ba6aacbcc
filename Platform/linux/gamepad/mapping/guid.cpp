#include "gamepad/mapping/guid.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace mapping {
namespace {

// Where the parts stand, in bytes.
constexpr std::size_t kBus = 0;
constexpr std::size_t kChecksum = 2;
constexpr std::size_t kVendor = 4;
constexpr std::size_t kProduct = 8;
constexpr std::size_t kVersion = 12;
constexpr std::size_t kNameLength = 11;  // a terminating zero is the 12th byte

void Put(Guid& guid, std::size_t at, std::uint16_t word) {
    guid.bytes[at] = static_cast<std::uint8_t>(word & 0xff);
    guid.bytes[at + 1] = static_cast<std::uint8_t>(word >> 8);
}

std::string WithoutSuperfluousSpaces(std::string_view name) {
    std::string tidied;
    for (const char c : name) {
        const bool superfluous = c == ' ' && (tidied.empty() || tidied.back() == ' ');
        if (!superfluous) {
            tidied += c;
        }
    }
    if (!tidied.empty() && tidied.back() == ' ') {
        tidied.pop_back();
    }
    return tidied;
}

// How much of the name stands again at this place, in whole words; 0: nothing.
std::size_t LengthRepeated(const std::string& name, std::size_t at) {
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    };
    const auto place = name.begin() + static_cast<std::ptrdiff_t>(at);
    auto length = static_cast<std::size_t>(std::mismatch(place, name.end(), name.begin(), same).first - place);
    while (length > 0 && name[length] != ' ' && name[length] != '-') {
        --length;
    }
    return length;
}

// Mappings are made with names from whose front a maker's name was taken off once when it comes again.
std::string Tidied(std::string_view text) {
    std::string name = WithoutSuperfluousSpaces(text);
    for (std::size_t at = 1; at + 1 < name.size(); ++at) {
        if (const std::size_t length = LengthRepeated(name, at); length > 0) {
            return name.substr(length + 1);
        }
    }
    return name;
}

int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::optional<Guid> Guid::Parse(std::string_view hexDigits) {
    Guid guid;
    if (hexDigits.size() != 2 * guid.bytes.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        const int high = HexDigit(hexDigits[2 * i]);
        const int low = HexDigit(hexDigits[2 * i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        guid.bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return guid;
}

Guid Guid::Of(const DeviceId& id) {
    Guid guid;
    Put(guid, kBus, id.bus);
    if (id.vendor != 0 && id.product != 0) {
        Put(guid, kVendor, id.vendor);
        Put(guid, kProduct, id.product);
        Put(guid, kVersion, id.version);
    } else {
        const std::string name = Tidied(id.name);
        std::copy_n(name.begin(), std::min(name.size(), kNameLength), guid.bytes.begin() + kVendor);
    }
    return guid;
}

Guid Guid::WithoutChecksum() const {
    Guid guid = *this;
    Put(guid, kChecksum, 0);
    return guid;
}

Guid Guid::WithoutVersion() const {
    Guid guid = *this;
    const bool hasNumbers =
        Word(kVendor) != 0 && Word(kVendor + 2) == 0 && Word(kProduct) != 0 && Word(kProduct + 2) == 0;
    if (hasNumbers) {
        Put(guid, kVersion, 0);
    }
    return guid;
}

std::uint16_t Guid::Checksum() const {
    return Word(kChecksum);
}

std::uint16_t Guid::Word(std::size_t at) const {
    return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

std::uint16_t NameChecksum(std::string_view name) {
    unsigned crc = 0;
    for (const char c : Tidied(name)) {
        crc ^= static_cast<std::uint8_t>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xa001 : crc >> 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

}  // namespace mapping
