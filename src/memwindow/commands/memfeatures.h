#pragma once

#include <cstdint>

/// Which of the optional commands a memory window shows.
inline constexpr std::uint32_t kFeatureRefresh = 1U << 0;     ///< the periodic refresh
inline constexpr std::uint32_t kFeatureLoad = 1U << 1;        ///< loading a file
inline constexpr std::uint32_t kFeatureAccessWidth = 1U << 2; ///< the choice of the access width
