#pragma once

#include <cstdint>

/// A moment of the calendar.
struct SysCalendarTime {
    std::uint16_t year;  // in full
    std::uint16_t month; // 1 to 12
    std::uint16_t day;
    std::uint16_t hour;
    std::uint16_t minute;
    std::uint16_t second;
    std::uint16_t reserved; // always 0
};
static_assert(sizeof(SysCalendarTime) == 14);

// All of these are for any thread.

/// The monotonic clock in ms, wrapping at 32 bits.
[[nodiscard]] std::uint32_t SYS_TickMs();

/// 0 at the first call of the process, then the ms since it, wrapping at 32 bits.
[[nodiscard]] std::uint32_t SYS_ElapsedMs();

/// 0 at the first call of the process, then the microseconds since it.
[[nodiscard]] std::uint64_t SYS_ElapsedUs();

/// SYS_ElapsedUs() minus an earlier value of it.
[[nodiscard]] std::uint64_t SYS_ElapsedUsSince(std::uint64_t mark);

/// Fill the record, which may be null, with the present moment.
void SYS_UtcTime(SysCalendarTime *time);
void SYS_LocalTime(SysCalendarTime *time);
