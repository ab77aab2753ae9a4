#include "utilvalues.h"

#include "utilformat.h"

char *UTIL_FormatTime(char *destination, std::uint32_t size, std::uint64_t timeUs)
{
    // 32 bits hold every span of less than half a million years of hours.
    const auto hours = static_cast<std::uint32_t>(timeUs / 3'600'000'000);
    const auto minutes = static_cast<std::uint32_t>(timeUs / 60'000'000 % 60);
    const auto seconds = static_cast<std::uint32_t>(timeUs / 1'000'000 % 60);
    const auto milliseconds = static_cast<std::uint32_t>(timeUs / 1000 % 1000);
    const auto microseconds = static_cast<std::uint32_t>(timeUs % 1000);
    if (hours > 0)
        return UTIL_Format(destination, size, "%.1d:%.2d:%.2d.%.3d %.3d", hours, minutes, seconds,
            milliseconds, microseconds);
    if (minutes > 0)
        return UTIL_Format(
            destination, size, "%.1d:%.2d.%.3d %.3d", minutes, seconds, milliseconds, microseconds);
    return UTIL_Format(destination, size, "%.1d.%.3d %.3d", seconds, milliseconds, microseconds);
}

char *UTIL_FormatIPv4(char *destination, std::uint32_t size, std::uint32_t address)
{
    return UTIL_Format(destination, size, "%d.%d.%d.%d", address & 0xFF, (address >> 8) & 0xFF,
        (address >> 16) & 0xFF, address >> 24);
}

char *UTIL_FormatMAC(char *destination, std::uint32_t size,
    const std::array<std::uint8_t, 6> &address, char separator)
{
    return UTIL_Format(destination, size, "%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X", address[0],
        separator, address[1], separator, address[2], separator, address[3], separator, address[4],
        separator, address[5]);
}
