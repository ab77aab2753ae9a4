#pragma once

#include <cstdint>
#include <vector>

namespace OpenProbe {

/// A range of addresses backed by the same kind of memory.
struct SimSegment {
    static constexpr int kPeripheral = -1;

    std::uint32_t first = 0;
    std::uint32_t last = 0;   // inclusive, so that a segment may end at the last address
    int bank = kPeripheral;   // which memory bank backs it
    std::uint32_t offset = 0; // of the first byte, in the bank or among the peripherals
    std::uint32_t widths = 7; // the access widths that it takes, added up: 1, 2, 4
    bool writable = true;
};

/// One step of a transfer: bytes that one segment answers in units of one width, or a hole.
struct SimPiece {
    const SimSegment *segment = nullptr; // null: a hole
    std::uint32_t bytes = 0;
    std::uint32_t unit = 0; // bytes of one bus access
};

/// The memory map: which addresses exist, and with which accesses they can be reached.
class SimMap {
public:
    /// Adds a segment unless one of its addresses is taken already.
    void Add(const SimSegment &segment);

    /// The longest piece from that address on that is either one hole or one segment's.
    /// @param end    end of the transfer, exclusive, above the address, at most 2^32
    /// @param width  width of the accesses; 0: as wide as address, length and segment allow
    [[nodiscard]] SimPiece PieceAt(
        std::uint32_t address, std::uint64_t end, std::uint32_t width) const;

    /// Bytes from the start of the range that can be read without a gap.
    [[nodiscard]] std::uint64_t Prefix(
        std::uint32_t address, std::uint64_t count, std::uint32_t width) const;

    /// Whether any byte of the range can be read.
    [[nodiscard]] bool AnyReadable(
        std::uint64_t address, std::uint64_t end, std::uint32_t width) const;

private:
    std::vector<SimSegment> m_segments; // by address
};

} // namespace OpenProbe
