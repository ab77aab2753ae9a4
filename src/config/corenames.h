#pragma once

#include <cstdint>

/// The text for a core id that is not in the table.
inline constexpr const char *kUnknownCoreName = "???";

/// The name of a CPU core as the probe library numbers cores.
///
/// Only the exact id is found: an unknown member of a known family counts as unknown.
/// @return a static text, kUnknownCoreName for an id that is not listed
[[nodiscard]] const char *CoreName(std::uint32_t coreId);
