#pragma once

#include "backend.h"
#include "simtarget.h"

#include <atomic>
#include <memory>

namespace OpenProbe {

/// The back end that needs no target: a simulated microcontroller in this process.
class SimBackend : public Backend {
public:
    using Clock = std::uint64_t (*)(); // milliseconds, from any start, never back

    static constexpr int kBigEndian = 1;
    static constexpr int kSlow = 2;
    static constexpr int kUnplugs = 3;
    static constexpr std::uint64_t kUnplugsAfterMs = 15'000;

    /// @param index  0 healthy, 1 big-endian data, 2 slow, 3 unplugs itself kUnplugsAfterMs after
    /// Open
    explicit SimBackend(int index, Clock clock = MonotonicMs);

    std::string Open(const CancelSignal &cancel) override;
    bool Connect(const TargetSetup &setup) override;
    bool Alive() const noexcept override;
    int Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width) override;
    int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width) override;
    std::uint32_t CoreId() override { return m_target->CpuId(); }
    std::uint32_t SetSpeed(std::uint32_t speedKHz) override { return speedKHz; }
    void Close() noexcept override { }

    static std::uint64_t MonotonicMs();

private:
    [[nodiscard]] bool Prepare(std::size_t bytes);
    void RunTarget();

    int m_index;
    Clock m_clock;
    const CancelSignal *m_cancel = nullptr;
    std::atomic<bool> m_unplugged = false;
    std::atomic<std::uint64_t> m_unplugAtMs = UINT64_MAX;
    std::uint64_t m_clockSeenMs = 0;
    std::uint64_t m_targetMs = 0;
    std::unique_ptr<SimTarget> m_target;
};

} // namespace OpenProbe
