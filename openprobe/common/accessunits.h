#pragma once

#include <algorithm>
#include <cstdint>

namespace OpenProbe {

/// Bytes that the next request takes, so that the target sees accesses of the wanted width.
///
/// Peers turn an aligned request of 1, 2 or 4 bytes into one access of that size and a longer
/// aligned one into word accesses, so widths 1 and 2 cost a request for each unit, and an unaligned
/// start or a short rest is taken in the widest units that fit.
/// @param remaining  at least 1
/// @param width      1, 2, 4, or 0: the peer chooses
/// @param maxBytes   the longest request, a multiple of 4
[[nodiscard]] inline std::uint32_t NextRequestBytes(
    std::uint32_t address, std::size_t remaining, std::uint32_t width, std::uint32_t maxBytes)
{
    const auto most = static_cast<std::uint32_t>(std::min<std::size_t>(remaining, maxBytes));
    if (width == 0)
        return most;
    if (width == 4 && address % 4 == 0 && most >= 4)
        return most & ~3U;
    std::uint32_t unit = width;
    while (address % unit != 0 || unit > most)
        unit /= 2;
    return unit;
}

} // namespace OpenProbe
