#pragma once

#include <array>
#include <cstdint>

/// Formats a time span given in microseconds, "h:mm:ss.mmm uuu", leading parts only when needed.
char *UTIL_FormatTime(char *destination, std::uint32_t size, std::uint64_t timeUs);

/// Formats an IPv4 address whose first part stands in the lowest byte.
char *UTIL_FormatIPv4(char *destination, std::uint32_t size, std::uint32_t address);

/// Formats a MAC address as two-digit upper-case hex parts with the given separator.
char *UTIL_FormatMAC(char *destination, std::uint32_t size,
    const std::array<std::uint8_t, 6> &address, char separator);
