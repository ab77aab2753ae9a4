#pragma once

#include "memtypes.h"

#include <cstdint>

/// A contiguous part of the target's address space.
struct PageRange {
    std::uint64_t base = 0;
    std::uint64_t length = 0; ///< bytes

    [[nodiscard]] std::uint64_t End() const { return base + length; }
    [[nodiscard]] bool Contains(std::uint64_t address) const
    {
        return address >= base && address - base < length;
    }
    bool operator==(const PageRange &) const = default;
};

/// How much memory fits the view, and in which character column of a row it stands.
///
/// Pixels, font metrics and the item size go in; bytes, rows and columns come out. Every query
/// answers 0 while the item size is 0.
class ViewGeometry {
public:
    static constexpr int kGroupBytes = 8;      ///< an extra blank follows every so many bytes
    static constexpr int kHexColumnStart = 10; ///< eight address digits and two blanks
    static constexpr int kMinimumChars = 25;   ///< a narrower view shows nothing

    /// Size of the view widget, frame included; only the low 16 bits of each count.
    void SetViewSize(int widthPx, int heightPx);
    void SetCharacterSize(int characterWidthPx, int lineHeightPx);
    void SetBytesPerItem(int bytesPerItem); ///< 1, 2 or 4

    [[nodiscard]] int CharacterWidth() const { return m_characterWidthPx; }
    [[nodiscard]] int LineHeight() const { return m_lineHeightPx; }
    [[nodiscard]] int LeftMargin() const { return 2; } ///< x of column 0, pixels
    [[nodiscard]] int BytesPerItem() const { return m_bytesPerItem; }

    /// A power of two, the largest that fits the width; 0 when the view is too narrow.
    [[nodiscard]] std::uint32_t BytesPerRow() const { return m_bytesPerRow; }
    /// Counts a partly visible last row.
    [[nodiscard]] std::uint32_t VisibleRows() const { return m_visibleRows; }
    [[nodiscard]] std::uint64_t BytesPerPage() const;
    /// Characters of one group of items and of the extra blank behind it.
    [[nodiscard]] int GroupChars() const;
    [[nodiscard]] int HexColumnWidth() const;  ///< characters
    [[nodiscard]] int TextColumnStart() const; ///< character column

    /// The page whose top row starts at base: at most what the cache holds, cut at the end of the
    /// address space.
    [[nodiscard]] PageRange PageAt(std::uint64_t base) const;
    /// The highest top row that scrolling may reach: the row of the last address stands on the
    /// last wholly visible row.
    [[nodiscard]] std::uint64_t LastScrollBase() const;
    /// The top row of the last whole page, a partly visible row counted in.
    [[nodiscard]] std::uint64_t LastPageBase() const;
    /// The top row after scrolling from base; rows > 0 towards lower addresses. Stops at address 0
    /// and at LastScrollBase. A page that a jump has placed beyond that stays where it is.
    [[nodiscard]] std::uint64_t ScrolledBase(std::uint64_t base, std::int64_t rows) const;

private:
    void Recompute();

    int m_widthPx = 0;
    int m_heightPx = 0;
    int m_characterWidthPx = 1;
    int m_lineHeightPx = 1;
    int m_bytesPerItem = 1;
    std::uint32_t m_bytesPerRow = 0;
    std::uint32_t m_visibleRows = 0;
};
