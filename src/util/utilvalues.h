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

/// Formats a size in bytes in the largest unit that it reaches: "512 Bytes", "3 KB", "1.5 MB". One
/// decimal, rounded down, when it is no whole number of them.
char *UTIL_FormatSize(char *destination, std::uint32_t size, std::uint64_t bytes);

/// Formats a floating-point value with six significant digits and a capital exponent. Values that
/// are no numbers have names: "Infinite", "-Infinite", "NaNq" (quiet), "NaNs" (signalling); the
/// negative zero is "-0.0".
char *UTIL_FormatFloat(char *destination, std::uint32_t size, double value);

/// The operating systems that a partner of this program may report.
enum class UtilOperatingSystem : std::uint8_t {
    Unknown,
    WindowsXP,
    WindowsVista,
    Windows7,
    Windows8,
    Windows8_1,
    Windows10,
    Linux,
    MacOS,
};

/// Its name for the user; "Unknown" for any other value.
[[nodiscard]] const char *UTIL_OperatingSystemName(UtilOperatingSystem system);
