#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace OpenProbe {

/// Faults that a user or a test sets up by writing to the fixture block.
struct SimFaults {
    std::uint32_t readsUntilUnplugged = 0; // 0: stays; 1: the next read loses the probe
    std::uint32_t delayMs = 0;             // every transfer takes that much longer
    std::uint32_t frozen = 0;              // not 0: time stands still
    std::uint32_t advanceMs = 0;           // time to add once
};

/// The register blocks of the simulated microcontroller. Offsets among the peripherals:
///   0x0000  timer, any width: +0 milliseconds, +4 events since the last read of this register
///           (reading clears it), +8 free word, +C reads of this block so far
///   0x1000  serial port, words only: +0 next received character (reading takes it out), +4 status,
///           +8 characters taken
///   0x2000  port pins, 16 or 32 bits: +0 inputs, +4 outputs, +8 sets and +C clears output bits
///   0x3000  width trace, any width: every byte reads as the width of the access that fetched it
///   0x4000  fixture, any width: the words of SimFaults
///   0x5000  system control, words only: what 0xE000E000 shows, CPUID at +D00
class SimPeripherals {
public:
    static constexpr std::uint32_t kBlockStep = 0x1000;
    static constexpr std::uint32_t kBlockBytes = 0x40;
    static constexpr std::uint32_t kFixture = 0x4000;
    static constexpr std::uint32_t kSystemControl = 0x5000;

    explicit SimPeripherals(std::uint32_t cpuId);

    /// One bus access of data.size() bytes, 1, 2 or 4, inside one word. Reading may change state.
    void Read(std::uint32_t offset, std::span<std::uint8_t> data, bool bigEndian);
    void Write(std::uint32_t offset, std::span<const std::uint8_t> data, bool bigEndian);

    void SetTime(std::uint64_t nowMs) { m_nowMs = nowMs; }
    [[nodiscard]] SimFaults &Faults() { return m_faults; }

private:
    [[nodiscard]] std::uint32_t ReadWord(
        std::uint32_t block, std::uint32_t reg, std::uint32_t width);
    [[nodiscard]] std::uint32_t ReadTimer(std::uint32_t reg);
    [[nodiscard]] std::uint32_t ReadSerial(std::uint32_t reg);
    [[nodiscard]] std::uint32_t ReadPort(std::uint32_t reg) const;
    [[nodiscard]] std::uint32_t ReadSystemControl(std::uint32_t reg) const;
    [[nodiscard]] std::uint32_t *WritableWord(std::uint32_t block, std::uint32_t reg);

    std::uint64_t m_nowMs = 0;
    std::uint64_t m_lastEventMs = 0;
    std::uint32_t m_cpuId;
    std::uint32_t m_timerFree = 0;
    std::uint32_t m_timerReads = 0;
    std::uint32_t m_charactersTaken = 0;
    std::uint32_t m_outputs = 0;
    SimFaults m_faults;
};

} // namespace OpenProbe
