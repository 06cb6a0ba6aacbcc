/// The key under which a mapping stands: 16 bytes, written as 32 hexadecimal digits.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "gamepad/mapping/capabilities.h"

namespace mapping {

/// Bus, name checksum, vendor, product and version as 16-bit little-endian numbers, with two zero bytes after each of
/// the last three; a device without vendor or product has the first 11 bytes of its name instead of these. The checksum
/// is always 0 here: mappings that ask for one have it in a field of their own.
struct Guid {
    std::array<std::uint8_t, 16> bytes{};

    static std::optional<Guid> Parse(std::string_view hexDigits);  ///< nullopt: not 32 hexadecimal digits
    static Guid Of(const DeviceId& id);

    std::uint16_t Checksum() const;
    Guid WithoutChecksum() const;
    Guid WithoutVersion() const;  ///< itself when it is made of a name
    bool operator==(const Guid& other) const { return bytes == other.bytes; }

private:
    std::uint16_t Word(std::size_t at) const;
};

/// CRC-16 (polynomial 0x8005, reflected) of a device's name, as mappings state it. In both uses the name counts without
/// superfluous spaces and without first words that come again.
std::uint16_t NameChecksum(std::string_view name);

}  // namespace mapping
