#include "viewgeometry.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace {

constexpr std::uint32_t kLargestRow = 1U << 15;

/// Each byte takes two digits, a blank and its text character; 4 / bytesPerItem counts the item
/// separators. Everything is in quarters of a byte's room so that it stays in whole numbers.
std::uint32_t LargestRowThatFits(std::uint32_t chars, int bytesPerItem)
{
    if (chars < ViewGeometry::kMinimumChars)
        return 0;
    // (4 * chars - 44) / (4 / bytesPerItem + 12.5), both sides doubled. A 16-bit width never
    // yields more than 19,414, so the largest row is not a limit in practice.
    const std::uint32_t fit = 2 * (4 * chars - 44) / (2 * (4U / unsigned(bytesPerItem)) + 25);
    return std::min(std::bit_floor(std::max(fit, 1U)), kLargestRow);
}

} // namespace

void ViewGeometry::SetViewSize(int widthPx, int heightPx)
{
    m_widthPx = widthPx & 0xFFFF;
    m_heightPx = heightPx & 0xFFFF;
    Recompute();
}

void ViewGeometry::SetCharacterSize(int characterWidthPx, int lineHeightPx)
{
    m_characterWidthPx = std::max(characterWidthPx, 1);
    m_lineHeightPx = std::max(lineHeightPx, 1);
    Recompute();
}

void ViewGeometry::SetBytesPerItem(int bytesPerItem)
{
    m_bytesPerItem = bytesPerItem;
    Recompute();
}

void ViewGeometry::Recompute()
{
    m_bytesPerRow = 0;
    m_visibleRows = 0;
    if (m_bytesPerItem == 0)
        return;
    m_bytesPerRow = LargestRowThatFits(unsigned(m_widthPx / m_characterWidthPx), m_bytesPerItem);
    m_visibleRows = unsigned(m_heightPx / m_lineHeightPx) + 1;
}

std::uint64_t ViewGeometry::BytesPerPage() const
{
    return std::uint64_t{m_bytesPerRow} * m_visibleRows;
}

int ViewGeometry::GroupChars() const
{
    if (m_bytesPerItem == 0)
        return 0;
    return (2 * m_bytesPerItem + 1) * (kGroupBytes / m_bytesPerItem) + 1;
}

int ViewGeometry::HexColumnWidth() const
{
    if (m_bytesPerItem == 0)
        return 0;
    const int bytes = int(m_bytesPerRow);
    return 2 * bytes - 1 + bytes / m_bytesPerItem + std::max(0, bytes / kGroupBytes - 1);
}

int ViewGeometry::TextColumnStart() const
{
    // The address column's ten characters, the blank behind the last item and one that separates.
    return m_bytesPerItem == 0 ? 0 : HexColumnWidth() + kHexColumnStart + 2;
}

PageRange ViewGeometry::PageAt(std::uint64_t base) const
{
    if (base >= kAddressSpaceEnd)
        return {};
    return {base, std::min({BytesPerPage(), kMaxCacheBytes, kAddressSpaceEnd - base})};
}

std::uint64_t ViewGeometry::LastScrollBase() const
{
    const std::uint64_t wholeRows = m_visibleRows > 1 ? m_visibleRows - 1 : 1;
    return kAddressSpaceEnd - wholeRows * m_bytesPerRow;
}

std::uint64_t ViewGeometry::LastPageBase() const
{
    return kAddressSpaceEnd - BytesPerPage();
}

std::uint64_t ViewGeometry::ScrolledBase(std::uint64_t base, std::int64_t rows) const
{
    const std::uint64_t bytes = std::uint64_t(std::abs(rows)) * m_bytesPerRow;
    if (rows > 0)
        return base - std::min(base, bytes);
    return std::min(base + bytes, std::max(LastScrollBase(), base));
}
