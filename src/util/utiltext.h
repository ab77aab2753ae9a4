#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Texts are NUL-terminated and live in buffers whose size, terminator included, travels with them.

/// Copies at most size - 1 characters and terminates.
/// A null pointer or size 0 leaves the destination untouched.
void UTIL_CopyText(char *destination, const char *source, std::uint32_t size);

/// Appends what still fits into a destination of `size` characters, and terminates.
/// Deliberate: a destination already longer than size takes the whole source, whatever its real
/// room; one of exactly size characters takes nothing. Paths are composed by appending a separator
/// with size 1. The caller must provide the room.
void UTIL_AppendText(char *destination, const char *source, std::uint32_t size);

/// Characters in front of the terminator; 0 for a null pointer.
[[nodiscard]] std::uint32_t UTIL_TextLength(const char *text);

/// The usual form: takes the size from the array.
template <std::size_t N> void UTIL_CopyText(std::array<char, N> &destination, const char *source)
{
    UTIL_CopyText(destination.data(), source, static_cast<std::uint32_t>(N));
}

template <std::size_t N> void UTIL_AppendText(std::array<char, N> &destination, const char *source)
{
    UTIL_AppendText(destination.data(), source, static_cast<std::uint32_t>(N));
}
