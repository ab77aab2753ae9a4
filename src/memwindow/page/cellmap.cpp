#include "cellmap.h"

#include <algorithm>

Cell CellMap::CellAtPixel(int xPx, int yPx) const
{
    const int x = xPx - m_geometry.LeftMargin();
    return {yPx / m_geometry.LineHeight(), x < 0 ? -1 : x / m_geometry.CharacterWidth()};
}

std::uint64_t CellMap::CellAddress(Cell cell) const
{
    const auto bytesPerRow = std::int64_t{m_geometry.BytesPerRow()};
    if (bytesPerRow == 0)
        return m_pageBase;
    const int bytesPerItem = m_geometry.BytesPerItem();
    std::int64_t offset = cell.column - m_geometry.TextColumnStart();
    if (const int hexColumn = cell.column - ViewGeometry::kHexColumnStart;
        hexColumn >= 0 && offset < 0) {
        const int ungapped = hexColumn - hexColumn / m_geometry.GroupChars();
        const int item = ungapped / (2 * bytesPerItem + 1);
        // The blank behind an item belongs to the byte on its left, in both byte orders.
        const int digit = std::min(ungapped % (2 * bytesPerItem + 1), 2 * bytesPerItem - 1);
        const int byte = m_bigEndian ? digit / 2 : (2 * bytesPerItem - 1 - digit) / 2;
        offset = std::int64_t{item} * bytesPerItem + byte;
    }
    // The address column stands for the row's first byte, the room beside the text for its last.
    offset = std::clamp<std::int64_t>(offset, 0, bytesPerRow - 1);
    const std::int64_t address = std::int64_t(m_pageBase) + cell.row * bytesPerRow + offset;
    return std::uint64_t(std::clamp<std::int64_t>(address, 0, std::int64_t(kLastAddress)));
}

int CellMap::CellDigit(Cell cell) const
{
    const int column = cell.column - ViewGeometry::kHexColumnStart;
    if (column < 0 || cell.column >= m_geometry.TextColumnStart())
        return 1;
    const int itemChars = 2 * m_geometry.BytesPerItem() + 1;
    const int digit = (column - column / m_geometry.GroupChars()) % itemChars;
    return digit == itemChars - 1 ? 1 : digit % 2;
}

std::int64_t CellMap::RowOfAddress(std::uint64_t address) const
{
    const auto bytesPerRow = std::int64_t{m_geometry.BytesPerRow()};
    if (bytesPerRow == 0)
        return -1;
    const std::int64_t distance = std::int64_t(address - m_pageBase);
    return distance / bytesPerRow - (distance < 0 ? 1 : 0);
}

// Rows and items are powers of two, so the arithmetic modulo 2^64 also holds before the page.
std::uint64_t CellMap::OffsetInRow(std::uint64_t address) const
{
    const std::uint64_t bytesPerRow = m_geometry.BytesPerRow();
    return bytesPerRow == 0 ? 0 : (address - m_pageBase) & (bytesPerRow - 1);
}

std::uint64_t CellMap::RowStart(std::uint64_t address) const
{
    return address - OffsetInRow(address);
}

std::uint64_t CellMap::ItemStart(std::uint64_t address) const
{
    const auto itemMask = std::uint64_t(std::max(m_geometry.BytesPerItem(), 1) - 1);
    const std::uint64_t offset = OffsetInRow(address) & itemMask;
    return address < offset ? 0 : address - offset;
}

std::uint64_t CellMap::ItemEnd(std::uint64_t address) const
{
    const auto itemMask = std::uint64_t(std::max(m_geometry.BytesPerItem(), 1) - 1);
    return std::min(address + (itemMask - (OffsetInRow(address) & itemMask)), kLastAddress);
}

int CellMap::ByteInItem(std::uint64_t address) const
{
    const int bytesPerItem = m_geometry.BytesPerItem();
    if (bytesPerItem == 0)
        return 0;
    const int byte = int(OffsetInRow(address)) & (bytesPerItem - 1);
    return m_bigEndian ? byte : bytesPerItem - 1 - byte;
}

int CellMap::ItemColumn(std::uint64_t address) const
{
    const int bytesPerItem = std::max(m_geometry.BytesPerItem(), 1);
    const int item = int(OffsetInRow(address)) / bytesPerItem;
    const int gaps = item * bytesPerItem / ViewGeometry::kGroupBytes;
    return ViewGeometry::kHexColumnStart + item * (2 * bytesPerItem + 1) + gaps;
}

int CellMap::HexColumn(std::uint64_t address, int digit) const
{
    return ItemColumn(address) + 2 * ByteInItem(address) + digit;
}

int CellMap::TextColumn(std::uint64_t address) const
{
    return m_geometry.TextColumnStart() + int(OffsetInRow(address));
}
