#include "utilvalues.h"

#include "utilformat.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace {

/// Signalling ones have the top bit of the fraction clear.
bool IsQuietNan(double value)
{
    return (std::bit_cast<std::uint64_t>(value) >> 51 & 1) != 0;
}

/// The name of a value that digits do not tell; else null.
const char *NameOfFloat(double value)
{
    if (std::isnan(value))
        return IsQuietNan(value) ? "NaNq" : "NaNs";
    if (std::isinf(value))
        return value < 0 ? "-Infinite" : "Infinite";
    return value == 0 && std::signbit(value) ? "-0.0" : nullptr;
}

} // namespace

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

char *UTIL_FormatSize(char *destination, std::uint32_t size, std::uint64_t bytes)
{
    constexpr std::array kUnits = {"Bytes", "KB", "MB", "GB"};
    std::size_t unit = 0;
    while (unit + 1 < kUnits.size() && bytes >> (10 * (unit + 1)) != 0)
        ++unit;
    const std::uint64_t one = std::uint64_t{1} << (10 * unit);
    const std::uint64_t rest = bytes % one;
    if (rest == 0)
        return UTIL_Format(destination, size, "%llu %s", bytes / one, kUnits[unit]);
    return UTIL_Format(
        destination, size, "%llu.%llu %s", bytes / one, rest * 10 / one, kUnits[unit]);
}

char *UTIL_FormatFloat(char *destination, std::uint32_t size, double value)
{
    if (const char *const name = NameOfFloat(value))
        return UTIL_Format(destination, size, "%s", name);
    std::array<char, 16> digits{}; // "1.23457E+308"
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size() - 1,
        std::abs(value), std::chars_format::general, 6);
    for (char *next = digits.data(); next != end.ptr; ++next) {
        if (*next == 'e')
            *next = 'E';
    }
    return UTIL_Format(destination, size, "%s%s", value < 0 ? "-" : "", digits.data());
}

const char *UTIL_OperatingSystemName(UtilOperatingSystem system)
{
    constexpr std::array kNames = {"Unknown", "Windows XP", "Windows Vista", "Windows 7",
        "Windows 8", "Windows 8.1", "Windows 10", "Linux", "macOS"};
    const auto index = static_cast<std::size_t>(system);
    return kNames[index < kNames.size() ? index : 0];
}
