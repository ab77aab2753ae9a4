#pragma once

#include "cellmap.h"

#include <array>
#include <cstdint>
#include <span>

/// A run of character cells of one row.
struct CellRange {
    int first = 0;
    int count = 0;
    bool operator==(const CellRange &) const = default;
};

/// The cells of one row that the selection covers: digits of a first item selected in part, whole
/// items with the gaps between them, digits of a last item selected in part, text characters.
class SelectedCells {
public:
    void Add(int first, int count) { m_ranges[m_count++] = {first, count}; }
    [[nodiscard]] std::span<const CellRange> Ranges() const &
    {
        return std::span(m_ranges).first(m_count);
    }
    std::span<const CellRange> Ranges() const && = delete; // they would outlive their array

private:
    std::array<CellRange, 4> m_ranges;
    std::size_t m_count = 0;
};

/// A contiguous address range with a fixed end, the anchor, and a moving one.
class Selection {
public:
    void Clear() { *this = {}; }
    /// Selects one byte, the start of a selection by keys.
    void Start(std::uint64_t address) { SetEnds(address, address); }
    /// Takes both ends as they are, in either order.
    void SetEnds(std::uint64_t anchor, std::uint64_t end);
    /// Moves the end and rounds both ends outwards to whole items. Without a selection anchor and
    /// end both start at the address.
    void ExtendTo(std::uint64_t address, const CellMap &cells);
    /// Rounds both ends outwards to whole items.
    void Normalise(const CellMap &cells);

    [[nodiscard]] bool IsEmpty() const { return m_length == 0; }
    [[nodiscard]] std::uint64_t Anchor() const { return m_anchor; }
    [[nodiscard]] std::uint64_t End() const { return m_end; } ///< the moving end, inclusive
    [[nodiscard]] std::uint64_t Lower() const { return m_anchor < m_end ? m_anchor : m_end; }
    [[nodiscard]] std::uint64_t Upper() const { return m_anchor < m_end ? m_end : m_anchor; }
    [[nodiscard]] std::uint64_t Length() const { return m_length; } ///< bytes, 0 = no selection

    /// The selected cells of the row that starts at rowAddress.
    [[nodiscard]] SelectedCells CellsOn(
        std::uint64_t rowAddress, std::uint32_t bytesPerRow, const CellMap &cells) const;

private:
    std::uint64_t m_anchor = 0;
    std::uint64_t m_end = 0;
    std::uint64_t m_length = 0;
};
