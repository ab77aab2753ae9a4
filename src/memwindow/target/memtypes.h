#pragma once

#include <cstdint>

/// The status of one byte of target memory, as stored in status arrays.
enum class ByteStatus : std::uint8_t {
    Valid = 0,      ///< read from the target
    ReadFailed = 1, ///< the target refused it
    NotLoaded = 3,  ///< outside the cache, or never read
};

/// One past the last address of the target's 32-bit space.
inline constexpr std::uint64_t kAddressSpaceEnd = 0x1'0000'0000;
/// The highest target address.
inline constexpr std::uint64_t kLastAddress = kAddressSpaceEnd - 1;
/// Bytes that the row cache of one window can hold.
inline constexpr std::uint64_t kMaxCacheBytes = 1'048'576;
