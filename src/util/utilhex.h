#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Two upper-case hex digits for each byte value, one behind the other.
inline constexpr std::array<char, 512> kUtilHexPairs = [] {
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[2 * byte] = "0123456789ABCDEF"[byte >> 4];
        pairs[2 * byte + 1] = "0123456789ABCDEF"[byte & 0xF];
    }
    return pairs;
}();

/// Writes two upper-case digits, no terminator. Same text as "%.2X", but as fast as a table lookup,
/// for writing rows of bytes.
/// @return the place behind the digits
inline char *UTIL_PutHexByte(char *destination, std::uint8_t byte)
{
    std::memcpy(destination, kUtilHexPairs.data() + std::size_t{byte} * 2, 2);
    return destination + 2;
}

/// Writes the low `digits` (even) hex digits of a value, upper case with leading zeros, no
/// terminator. Same text as "%.8X" for 8 digits.
/// @return the place behind the digits
inline char *UTIL_PutHex(char *destination, std::uint64_t value, unsigned digits)
{
    for (unsigned shift = digits * 4; shift >= 8; shift -= 8)
        destination = UTIL_PutHexByte(destination, static_cast<std::uint8_t>(value >> (shift - 8)));
    return destination;
}
