#pragma once

#include <cstdint>
#include <vector>

/// The rows of the page that have to be painted again.
class DirtyRows {
public:
    /// Forgets all marks. Allocates only when the number of rows grows.
    void Reset(std::uint32_t rowCount)
    {
        m_marks.assign(rowCount, 0);
        m_any = false;
    }
    void Mark(std::uint64_t row)
    {
        if (row < m_marks.size()) {
            m_marks[row] = 1;
            m_any = true;
        }
    }
    [[nodiscard]] bool Any() const { return m_any; }
    [[nodiscard]] bool IsMarked(std::uint32_t row) const { return m_marks[row] != 0; }

    /// Calls visit(firstRow, rowCount) for every run of marked rows, from the top.
    template <typename Visit> void ForEachRun(Visit visit) const
    {
        const auto count = std::uint32_t(m_marks.size());
        for (std::uint32_t row = 0; m_any && row < count; ++row) {
            const std::uint32_t first = row;
            while (row < count && m_marks[row] != 0)
                ++row;
            if (row > first)
                visit(first, row - first);
        }
    }

private:
    std::vector<std::uint8_t> m_marks;
    bool m_any = false;
};
