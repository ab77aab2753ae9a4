#pragma once

#include "memtypes.h"

#include <algorithm>
#include <cstdint>

/// The vertical scroll bar is a plain int slider that has to reach over 2^32 addresses: its
/// position is the address minus 0x7FFFFFFF.
inline constexpr int kSliderMinimum = -2'147'483'647;
inline constexpr int kSliderMaximum = 2'147'483'647;

/// The highest addresses share the last position.
[[nodiscard]] constexpr int SliderOfAddress(std::uint64_t address)
{
    const std::uint64_t capped = std::min(address, kLastAddress);
    return int(std::min<std::int64_t>(std::int64_t(capped) - kSliderMaximum, kSliderMaximum));
}

[[nodiscard]] constexpr std::uint64_t AddressOfSlider(int position)
{
    return std::uint64_t(std::max<std::int64_t>(std::int64_t{position} + kSliderMaximum, 0));
}

/// Deliberate: with this maximum the last two bytes of the address space cannot be reached by
/// dragging; the keys and a jump reach them.
[[nodiscard]] constexpr int SliderMaximumForPage(std::uint64_t bytesPerPage)
{
    return int(kSliderMaximum - std::int64_t(std::min(bytesPerPage, kAddressSpaceEnd / 2)));
}
