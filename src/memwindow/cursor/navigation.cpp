#include "navigation.h"

#include <algorithm>

CursorMove Navigation::Up(EditCursor cursor) const
{
    CursorMove move = Stay(cursor);
    if (m_cells.RowOfAddress(cursor.address) == 0)
        move.scrollRows = 1;
    else
        move.cursor.address -= std::min<std::uint64_t>(cursor.address, m_geometry.BytesPerRow());
    return move;
}

CursorMove Navigation::Down(EditCursor cursor) const
{
    CursorMove move = Stay(cursor);
    if (m_cells.RowOfAddress(cursor.address) >= std::int64_t{m_geometry.VisibleRows()} - 2)
        move.scrollRows = -1;
    else if (kLastAddress - m_cells.RowStart(cursor.address) >= m_geometry.BytesPerRow())
        move.cursor.address = std::min(cursor.address + m_geometry.BytesPerRow(), kLastAddress);
    return move;
}

CursorMove Navigation::ForwardTo(EditCursor cursor, std::uint64_t address) const
{
    CursorMove move = Stay(cursor);
    if (address > kLastAddress)
        return move;
    move.cursor.address = address;
    if (m_cells.RowOfAddress(address) > std::int64_t{m_geometry.VisibleRows()} - 2)
        move.scrollRows = -1;
    return move;
}

CursorMove Navigation::BackTo(EditCursor cursor, std::uint64_t address) const
{
    CursorMove move = Stay(cursor);
    if (address > kLastAddress) // below 0
        return move;
    move.cursor.address = address;
    if (address < m_page.base)
        move.scrollRows = 1;
    return move;
}

CursorMove Navigation::Right(EditCursor cursor) const
{
    if (cursor.inTextColumn)
        return ForwardTo(cursor, cursor.address + 1);
    if (cursor.digit == 0) {
        cursor.digit = 1;
        return Stay(cursor);
    }
    // A little-endian item shows its highest byte first, so the next byte on the screen is the one
    // before, and behind the item's lowest byte the highest of the next item.
    std::uint64_t next = cursor.address + 1;
    if (!m_bigEndian) {
        const auto itemBytes = std::uint64_t(m_geometry.BytesPerItem());
        const bool lowest = m_cells.ItemStart(cursor.address) == cursor.address;
        next = lowest ? cursor.address - 1 + 2 * itemBytes : cursor.address - 1;
    }
    CursorMove move = ForwardTo(cursor, next);
    if (move.cursor.address != cursor.address)
        move.cursor.digit = 0;
    return move;
}

CursorMove Navigation::Left(EditCursor cursor) const
{
    if (cursor.inTextColumn)
        return BackTo(cursor, cursor.address - 1);
    if (cursor.digit == 1) {
        cursor.digit = 0;
        return Stay(cursor);
    }
    std::uint64_t previous = cursor.address - 1;
    if (!m_bigEndian) {
        const auto itemBytes = std::uint64_t(m_geometry.BytesPerItem());
        const bool highest = m_cells.ByteInItem(cursor.address) == 0;
        previous = highest ? cursor.address + 1 - 2 * itemBytes : cursor.address + 1;
    }
    CursorMove move = BackTo(cursor, previous);
    if (move.cursor.address != cursor.address)
        move.cursor.digit = 1;
    return move;
}

CursorMove Navigation::RowHome(EditCursor cursor) const
{
    const std::uint64_t start = m_cells.RowStart(cursor.address);
    const bool firstByteFirst = m_bigEndian || cursor.inTextColumn;
    cursor.address = firstByteFirst ? start : m_cells.ItemEnd(start);
    cursor.digit = cursor.inTextColumn ? 1 : 0;
    return Stay(cursor);
}

CursorMove Navigation::RowEnd(EditCursor cursor) const
{
    const std::uint64_t end
        = std::min(m_cells.RowStart(cursor.address) + m_geometry.BytesPerRow() - 1, kLastAddress);
    const bool lastByteLast = m_bigEndian || cursor.inTextColumn;
    cursor.address = lastByteLast ? end : m_cells.ItemStart(end);
    cursor.digit = 1;
    return Stay(cursor);
}

std::uint64_t Navigation::PageStep() const
{
    return std::uint64_t{m_geometry.VisibleRows() - 1} * m_geometry.BytesPerRow();
}

CursorMove Navigation::PageDown(EditCursor cursor) const
{
    CursorMove move = Stay(cursor);
    if (m_page.End() >= kAddressSpaceEnd || m_geometry.BytesPerPage() == 0)
        return move;
    if (cursor.address + PageStep() <= kLastAddress)
        move.cursor.address += PageStep();
    move.pageBase = std::min(m_page.base + PageStep(), kLastAddress);
    return move;
}

CursorMove Navigation::PageUp(EditCursor cursor) const
{
    CursorMove move = Stay(cursor);
    if (m_geometry.BytesPerPage() == 0)
        return move;
    // Near address 0 the page moves by the rows that are left; the cursor keeps its place in it.
    const std::uint64_t step = std::min(PageStep(), m_page.base);
    move.pageBase = m_page.base - step;
    if (cursor.address >= step)
        move.cursor.address -= step;
    return move;
}

CursorMove Navigation::First(EditCursor cursor) const
{
    cursor.address = 0;
    return Navigation(m_geometry, m_geometry.PageAt(0), m_bigEndian).RowHome(cursor);
}

CursorMove Navigation::Last(EditCursor cursor) const
{
    cursor.address = kLastAddress;
    const PageRange lastPage = m_geometry.PageAt(m_geometry.LastScrollBase());
    return Navigation(m_geometry, lastPage, m_bigEndian).RowEnd(cursor);
}
