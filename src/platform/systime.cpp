#include "systime.h"

#include <atomic>
#include <ctime>

namespace {

/// Microseconds since an arbitrary moment in the past; never 0.
std::uint64_t MonotonicUs()
{
    std::timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000
        + static_cast<std::uint64_t>(now.tv_nsec) / 1000 + 1;
}

/// What has passed since the first of all calls with this `first`, which is 0 before it. The word
/// stands for itself and publishes nothing else.
std::uint64_t SinceFirstCall(std::atomic<std::uint64_t> &first, std::uint64_t now)
{
    std::uint64_t start = 0;
    if (first.compare_exchange_strong(start, now, std::memory_order_relaxed))
        return 0;
    return now > start ? now - start : 0;
}

void Fill(SysCalendarTime &out, const std::tm &time)
{
    out.year = static_cast<std::uint16_t>(time.tm_year + 1900);
    out.month = static_cast<std::uint16_t>(time.tm_mon + 1);
    out.day = static_cast<std::uint16_t>(time.tm_mday);
    out.hour = static_cast<std::uint16_t>(time.tm_hour);
    out.minute = static_cast<std::uint16_t>(time.tm_min);
    out.second = static_cast<std::uint16_t>(time.tm_sec);
    out.reserved = 0;
}

void FillWith(SysCalendarTime *out, std::tm *(*convert)(const std::time_t *, std::tm *))
{
    if (!out)
        return;
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    convert(&now, &parts);
    Fill(*out, parts);
}

} // namespace

std::uint32_t SYS_TickMs()
{
    std::timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000
        + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000);
}

std::uint32_t SYS_ElapsedMs()
{
    static constinit std::atomic<std::uint64_t> first{0};
    return static_cast<std::uint32_t>(SinceFirstCall(first, MonotonicUs() / 1000 + 1));
}

std::uint64_t SYS_ElapsedUs()
{
    static constinit std::atomic<std::uint64_t> first{0};
    return SinceFirstCall(first, MonotonicUs());
}

std::uint64_t SYS_ElapsedUsSince(std::uint64_t mark)
{
    return SYS_ElapsedUs() - mark;
}

void SYS_UtcTime(SysCalendarTime *time)
{
    FillWith(time, &gmtime_r);
}

void SYS_LocalTime(SysCalendarTime *time)
{
    tzset(); // localtime_r need not look at TZ by itself
    FillWith(time, &localtime_r);
}
