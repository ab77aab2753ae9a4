#pragma once

#include "cellmap.h"
#include "cellranges.h"

#include <cstdint>

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
