#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <span>
#include <string_view>

namespace OpenProbe {

/// What the simulated microcontroller's program keeps in RAM, brought up to date as time passes.
///
/// Offsets from the start of RAM:
///   0x000  "SIMULATED TARGET", then the device's name
///   0x020  words: milliseconds, hundredths, seconds, loops
///   0x030  16-bit counters of 10 and 2 Hz; bytes of 5, 1 and 0.25 Hz and one that counts down
///   0x038  mailbox: a word written here comes back inverted in the next word
///   0x040  up-time as text; 0x050 eight ADC channels; 0x060 a comet on its way through 96 bytes
///   0x0C0  four gauges as text; 0x100 sixteen lines of a text log
///   0x200  list head, node count, moves; then a pool of twelve nodes: next, prev, value, name
///   0x2D0  event counters; 0x300 a ring of 256 samples; 0x400 words that hold their own addresses
///   0xA00  write-protected text
/// Only what the program changes is rewritten, so whatever else a user writes stays.
class SimFirmware {
public:
    static constexpr std::uint32_t kMinRamSize = 0x1000;
    static constexpr std::uint32_t kProtectedFirst = 0xA00;
    static constexpr std::uint32_t kProtectedLast = 0xAFF;

    /// @param ram  at least kMinRamSize bytes, outlives this object
    SimFirmware(std::span<std::uint8_t> ram, std::uint32_t ramAddress, bool bigEndian,
        std::string_view deviceName);

    /// Lets the program run until that time; never back.
    void RunUntil(std::uint64_t nowMs);

private:
    void Put16(std::uint32_t offset, std::uint32_t value);
    void Put32(std::uint32_t offset, std::uint32_t value);
    [[nodiscard]] std::uint32_t Get16(std::uint32_t offset) const;
    [[nodiscard]] std::uint32_t Get32(std::uint32_t offset) const;
    void PutText(std::uint32_t offset, std::string_view text, std::uint32_t width);
    [[nodiscard]] std::uint64_t Periods(std::uint64_t nowMs, std::uint64_t periodMs) const;
    [[nodiscard]] std::uint32_t NodeAddress(std::size_t slot) const;

    void PutFixedContents(std::string_view deviceName);
    void RunCounters(std::uint64_t nowMs);
    void RunTexts(std::uint64_t nowMs);
    void RunSignals(std::uint64_t nowMs);
    void RunLog(std::uint64_t nowMs);
    void RunList(std::uint64_t nowMs);
    void MoveOneNode();
    void PutList();

    static constexpr std::size_t kNodes = 7;
    static constexpr std::size_t kSlots = 12;

    std::span<std::uint8_t> m_ram;
    std::uint32_t m_ramAddress;
    bool m_bigEndian;
    std::uint64_t m_lastMs = 0;
    std::uint32_t m_moves = 0;
    std::array<std::size_t, kNodes> m_slotOfNode{};
    std::minstd_rand m_random{20260101};
};

} // namespace OpenProbe
