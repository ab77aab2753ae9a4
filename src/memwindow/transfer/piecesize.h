#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

/// How many bytes of a range go into one call of the host: all of a range up to 512 KiB; of a
/// longer one as many as take about 100 ms, estimated from the calls so far.
class PieceSize {
public:
    static constexpr std::uint64_t kOneCallBytes = 512ULL * 1024;

    explicit PieceSize(std::uint64_t rangeBytes)
        : m_size(rangeBytes <= kOneCallBytes ? kOneCallBytes : kFirstBytes)
        , m_isFixed(rangeBytes <= kOneCallBytes)
    {
    }

    /// @param leftBytes  of the range, > 0
    [[nodiscard]] std::size_t Next(std::uint64_t leftBytes)
    {
        m_length = std::size_t(std::min(leftBytes, m_size));
        return m_length;
    }
    /// Around the call with the piece that Next has given.
    void Begin() { m_begin = std::chrono::steady_clock::now(); }
    void End()
    {
        if (m_isFixed || m_length < m_size)
            return;
        using std::chrono::microseconds;
        const auto took
            = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - m_begin);
        const auto tookUs = std::uint64_t(std::max<std::int64_t>(took.count(), 1));
        const std::uint64_t wanted
            = std::clamp(m_size * kAimUs / tookUs, m_size / kMaxStep, m_size * kMaxStep);
        m_size = std::clamp(wanted - wanted % kGrainBytes, kGrainBytes, kOneCallBytes);
    }

private:
    static constexpr std::uint64_t kFirstBytes = 16ULL * 1024;
    static constexpr std::uint64_t kGrainBytes = 256;
    static constexpr std::uint64_t kAimUs = 80'000;
    static constexpr std::uint64_t kMaxStep = 4;

    std::uint64_t m_size;
    bool m_isFixed;
    std::size_t m_length = 0;
    std::chrono::steady_clock::time_point m_begin;
};
