#pragma once

#include "dirtyrows.h"
#include "viewgeometry.h"

#include <cstdint>
#include <vector>

/// How many refresh ticks ago each byte changed: 1 at the refresh that found the change, one more
/// at every tick after it. Ages 1 to 3 are drawn in colour; age 4 only takes the colour away.
///
/// Bytes of the page are kept in an array beside the cache. The few aged bytes that were scrolled
/// out wait in a list, so that they come back with the right colour.
class ChangeAges {
public:
    static constexpr std::uint8_t kLastColoured = 3;
    static constexpr std::uint8_t kLastAge = 4;

    void Clear();
    /// Makes page the range that the array covers.
    /// @param keepsOutside  whether bytes that leave the page keep their age until they return.
    ///                      False without ticks: nothing would ever end the age
    void MoveTo(PageRange page, bool keepsOutside);
    /// The byte changed at this refresh. Ignored outside the page.
    void SetChanged(std::uint64_t address);
    /// One tick: every age grows by one; past the last age a byte counts as unchanged.
    void Age();
    /// Marks the rows that hold an aged byte: their colour has changed with the tick.
    void MarkAgedRows(std::uint32_t bytesPerRow, DirtyRows &rows) const;

    /// @return 0 for a byte that did not change lately.
    [[nodiscard]] std::uint8_t AgeOf(std::uint64_t address) const;
    /// The ages of bytes that lie one behind the other in the page; null when none has an age.
    [[nodiscard]] const std::uint8_t *AgesAt(std::uint64_t address, std::uint64_t length) const;

private:
    struct Outside {
        std::uint64_t address;
        std::uint8_t age;
    };
    void StoreOutside(std::uint64_t first, std::uint64_t end);
    void TakeBackInside();

    PageRange m_page;
    std::vector<std::uint8_t> m_ages; // of the page's bytes; 0 = unchanged
    std::vector<Outside> m_outside;
    int m_ticksLeft = 0; // ticks until no byte has an age any more
};
