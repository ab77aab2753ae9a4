#include "knownranges.h"

#include <algorithm>

namespace OpenProbe {

void KnownRanges::Add(std::uint32_t first, std::uint32_t last)
{
    if (Contain(first, last))
        return;
    for (Range &range : m_ranges) {
        // Ranges that touch are joined: a long read arrives in pieces.
        if (range.first <= range.last && first <= std::uint64_t{range.last} + 1
            && range.first <= std::uint64_t{last} + 1) {
            range.first = std::min(range.first, first);
            range.last = std::max(range.last, last);
            return;
        }
    }
    m_ranges[m_next] = {first, last};
    m_next = (m_next + 1) % m_ranges.size();
}

bool KnownRanges::Contain(std::uint32_t first, std::uint32_t last) const
{
    return std::ranges::any_of(
        m_ranges, [&](const Range &range) { return range.first <= first && last <= range.last; });
}

} // namespace OpenProbe
