#pragma once

#include <cstdint>
#include <ctime>

/// The moment `timeoutMs` from now on the clock that POSIX timed waits use, the time of day.
/// @return false, after a trace message, when the clock cannot be read; the deadline stays
[[nodiscard]] bool SYS_ComputeDeadline(std::uint32_t timeoutMs, std::timespec &deadline);
