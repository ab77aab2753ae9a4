#pragma once

#include <cstdint>

namespace OpenProbe {

/// The address of the identification word of every Cortex-M core. Other cores have something else
/// there, so it is read only when the peer says that the core is one of these.
inline constexpr std::uint32_t kCpuIdAddress = 0xE000ED00;

/// The word read there, or 0 when it is no Cortex-M core's identification.
[[nodiscard]] constexpr std::uint32_t MCoreId(std::uint32_t word)
{
    return (word & 0xFF0C0000) == 0x410C0000 ? word : 0;
}

} // namespace OpenProbe
