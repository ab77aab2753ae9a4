#pragma once

#include <array>
#include <cstddef>
#include <span>

/// A run of character cells of one row.
struct CellRange {
    int first = 0;
    int count = 0;
    bool operator==(const CellRange &) const = default;
};

/// The cells of one row that the selection covers: digits of a first item selected in part, whole
/// items with the gaps between them, digits of a last item selected in part, text characters.
class SelectedCells {
public:
    void Add(int first, int count) { m_ranges[m_count++] = {first, count}; }
    [[nodiscard]] std::span<const CellRange> Ranges() const &
    {
        return std::span(m_ranges).first(m_count);
    }
    std::span<const CellRange> Ranges() const && = delete; // they would outlive their array

private:
    std::array<CellRange, 4> m_ranges;
    std::size_t m_count = 0;
};
