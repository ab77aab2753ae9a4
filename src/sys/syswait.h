#pragma once

#include <cstdint>

// The results of waiting for a mutex or an event.

inline constexpr int SYS_WAIT_OK = 0;
/// Deliberate: callers compare with this very number.
inline constexpr int SYS_WAIT_TIMEOUT = 258;
inline constexpr int SYS_WAIT_ERROR = -1;

/// As a time-out in ms: wait without end.
inline constexpr std::uint32_t SYS_WAIT_FOREVER = 0xFFFFFFFF;
