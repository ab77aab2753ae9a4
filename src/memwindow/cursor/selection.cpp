#include "selection.h"

#include <algorithm>
#include <cstdlib>

void Selection::SetEnds(std::uint64_t anchor, std::uint64_t end)
{
    m_anchor = anchor;
    m_end = end;
    m_length = Upper() - Lower() + 1;
}

void Selection::ExtendTo(std::uint64_t address, const CellMap &cells)
{
    SetEnds(IsEmpty() ? address : m_anchor, address);
    Normalise(cells);
}

void Selection::Normalise(const CellMap &cells)
{
    if (m_end >= m_anchor)
        SetEnds(cells.ItemStart(m_anchor), cells.ItemEnd(m_end));
    else
        SetEnds(cells.ItemEnd(m_anchor), cells.ItemStart(m_end));
}

namespace {

/// Bytes of one item stand side by side, from left to right or from right to left.
void AddDigits(SelectedCells &result, std::uint64_t first, std::uint64_t last, const CellMap &cells)
{
    const int a = cells.HexColumn(first, 0);
    const int b = cells.HexColumn(last, 0);
    result.Add(std::min(a, b), std::abs(a - b) + 2);
}

} // namespace

SelectedCells Selection::CellsOn(
    std::uint64_t rowAddress, std::uint32_t bytesPerRow, const CellMap &cells) const
{
    SelectedCells result;
    if (IsEmpty() || bytesPerRow == 0)
        return result;
    std::uint64_t first = std::max(Lower(), rowAddress);
    std::uint64_t last = std::min(Upper(), rowAddress + bytesPerRow - 1);
    if (first > last)
        return result;
    result.Add(cells.TextColumn(first), int(last - first) + 1);
    if (first != cells.ItemStart(first) || last < cells.ItemEnd(first)) {
        const std::uint64_t headEnd = std::min(last, cells.ItemEnd(first));
        AddDigits(result, first, headEnd, cells);
        first = headEnd + 1;
    }
    if (first <= last && last != cells.ItemEnd(last)) {
        AddDigits(result, cells.ItemStart(last), last, cells);
        last = cells.ItemStart(last) - 1;
    }
    if (first <= last) {
        const int start = cells.ItemColumn(first);
        const int end
            = std::max(cells.HexColumn(last, 2), cells.HexColumn(cells.ItemStart(last), 2));
        result.Add(start, end - start);
    }
    return result;
}
