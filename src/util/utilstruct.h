#pragma once

#include <cstdint>

inline constexpr int UTIL_COPY_OK = 0;
inline constexpr int UTIL_COPY_ERROR = -1;

/// Receives the message about a structure that was refused.
using UtilReport = void (*)(const char *text);

/// Copies a structure whose first 32-bit word is its size in bytes, between partners that know
/// different versions of it: what the source lacks reads 0, what it has more is left out, and the
/// destination's size word stays `size`.
/// A source that is smaller than its own size word is refused and reported; the destination stays.
/// @param name    of the structure, for the report
/// @param report  may be null
/// @return UTIL_COPY_OK or UTIL_COPY_ERROR
int UTIL_CopyAPIStruct(
    void *destination, const void *source, std::uint32_t size, const char *name, UtilReport report);
