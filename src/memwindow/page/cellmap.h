#pragma once

#include "viewgeometry.h"

#include <cstdint>

/// A character cell of the view. Column -1 lies left of the first character.
struct Cell {
    int row = 0;
    int column = 0;
    bool operator==(const Cell &) const = default;
};

/// Which target byte a character cell of the current page shows, and where a byte is shown.
///
/// A short-lived view of the geometry, the address of the top row and the byte order.
class CellMap {
public:
    CellMap(const ViewGeometry &geometry, std::uint64_t pageBase, bool bigEndian)
        : m_geometry(geometry)
        , m_pageBase(pageBase)
        , m_bigEndian(bigEndian)
    {
    }

    [[nodiscard]] Cell CellAtPixel(int xPx, int yPx) const;
    /// The byte that a cell shows, for cells beside the bytes the nearest one of the row; kept
    /// within the address space.
    [[nodiscard]] std::uint64_t CellAddress(Cell cell) const;
    /// The digit of the byte under the cell: 0 the first, 1 the second; 1 outside the digits.
    [[nodiscard]] int CellDigit(Cell cell) const;

    /// @return the row, below 0 above the page; -1 when the view shows nothing. An address before
    /// the page counts one row too many on a row's first byte; callers only ask for the sign.
    [[nodiscard]] std::int64_t RowOfAddress(std::uint64_t address) const;
    [[nodiscard]] std::uint64_t RowStart(std::uint64_t address) const;
    [[nodiscard]] std::uint64_t ItemStart(std::uint64_t address) const;
    [[nodiscard]] std::uint64_t ItemEnd(std::uint64_t address) const; ///< the item's last byte
    /// Which digit pair of its item shows the byte, counted from the left.
    [[nodiscard]] int ByteInItem(std::uint64_t address) const;

    [[nodiscard]] int ItemColumn(std::uint64_t address) const; ///< of the item's first digit
    [[nodiscard]] int HexColumn(std::uint64_t address, int digit) const;
    [[nodiscard]] int TextColumn(std::uint64_t address) const;

private:
    [[nodiscard]] std::uint64_t OffsetInRow(std::uint64_t address) const;

    const ViewGeometry &m_geometry;
    std::uint64_t m_pageBase;
    bool m_bigEndian;
};
