#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace OpenProbe {

/// The last few address ranges that could be read.
///
/// An emulator's stub confirms writes to addresses that do not exist, so a write is preceded by a
/// read of its range. Where the range was read before, as the window's page was, that read is left
/// out.
class KnownRanges {
public:
    /// @param last  inclusive
    void Add(std::uint32_t first, std::uint32_t last);
    [[nodiscard]] bool Contain(std::uint32_t first, std::uint32_t last) const;

private:
    struct Range {
        std::uint32_t first = 1; // first > last: empty
        std::uint32_t last = 0;
    };
    std::array<Range, 8> m_ranges{};
    std::size_t m_next = 0;
};

} // namespace OpenProbe
