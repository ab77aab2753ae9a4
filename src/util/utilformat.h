#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Formats into a bounded buffer: at most size - 1 characters and always a terminator (size 0
/// leaves the buffer untouched).
///
/// Supports %%, d, i, u, x, X, c, s and p, a width, a precision and "l"; two or more "l" make a
/// number 64 bits wide. Widths pad with blanks only: there is no zero flag, "%02X" means width 2,
/// leading zeros come from the precision ("%.2X"). A minus sign stands in front of the blanks.
/// Width and precision do not apply to c and s. An unknown conversion writes nothing and takes no
/// argument; a star swallows its whole directive, conversion letter included. A null text is
/// empty.
/// @return the terminator in the destination
char *UTIL_FormatV(char *destination, std::uint32_t size, const char *format, std::va_list args);
char *UTIL_Format(char *destination, std::uint32_t size, const char *format, ...);

/// The types of arguments: whole numbers, enumerations of them, and pointers.
template <typename T>
concept UtilFormatArgument
    = std::is_integral_v<T> || std::is_pointer_v<T> || std::is_null_pointer_v<T> ||(
        std::is_enum_v<T> &&std::is_convertible_v<T, int>);

/// The usual form: takes the size from the array.
template <std::size_t N, UtilFormatArgument... Args>
char *UTIL_Format(std::array<char, N> &destination, const char *format, Args... args)
{
    return UTIL_Format(destination.data(), static_cast<std::uint32_t>(N), format, args...);
}
