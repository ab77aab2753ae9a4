#pragma once

#include <algorithm>
#include <chrono>

namespace OpenProbe {

/// The environment variable that multiplies every time limit for peers, for slow adapters and busy
/// machines: a decimal number from 1 to 60. Anything else is 1.
inline constexpr const char *kPatienceVariable = "OPENPROBE_PATIENCE";

/// Reads kPatienceVariable; every Open does. Before the first time it counts as 1.
void RefreshPatience();

/// The value of kPatienceVariable when it was read last. Any thread.
[[nodiscard]] int Patience();

/// A point in time by which something must be over, on the monotonic clock.
class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] static Deadline After(std::chrono::milliseconds span)
    {
        return Deadline(Clock::now() + span);
    }

    /// As After, for a limit on what a peer may take: times Patience().
    [[nodiscard]] static Deadline ForPeer(std::chrono::milliseconds limit)
    {
        return After(limit * Patience());
    }

    /// The earlier of the two.
    [[nodiscard]] Deadline OrEarlier(Deadline other) const
    {
        return Deadline(std::min(m_end, other.m_end));
    }

    [[nodiscard]] bool Passed() const { return Clock::now() >= m_end; }

    /// Milliseconds left for poll(): rounded up, so that a wait never ends just before the
    /// deadline; 0 when it has passed.
    [[nodiscard]] int LeftMs() const
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now());
        return static_cast<int>(std::clamp<long long>(left.count(), 0, 60'000));
    }

private:
    explicit Deadline(Clock::time_point end)
        : m_end(end)
    {
    }

    Clock::time_point m_end;
};

} // namespace OpenProbe
