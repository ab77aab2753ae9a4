#pragma once

#include "devicegrid.h"

#include <algorithm>
#include <array>
#include <cstddef>

/// The sizes of cells' pictures, in device pixels, for one font and one scale.
///
/// A row that starts inside a device pixel has its baseline and its edges rounded. All pictures
/// therefore have one baseline and are a little higher than a row, and a row shows a window of
/// them.
class CellLayout {
public:
    /// The lines of a picture that a row shows.
    struct Window {
        int first = 0;
        int count = 0;
    };

    CellLayout() = default;
    /// @param widthPx, heightPx, ascentPx  of a cell, at least 1 each but for the ascent
    CellLayout(int widthPx, int heightPx, int ascentPx, int partsPerPixel)
        : m_partsPerPixel(partsPerPixel)
        , m_columnParts(widthPx * partsPerPixel)
        , m_ascentParts(ascentPx * partsPerPixel)
    {
        const int heightParts = heightPx * partsPerPixel;
        int below = 0;
        for (int fraction = 0; fraction < kPixelParts; ++fraction) {
            const int baseline = PixelAt(fraction + m_ascentParts);
            const int end = PixelAt(fraction + heightParts);
            const int above = baseline - PixelAt(fraction);
            m_windows[std::size_t(fraction)] = {-above, end - PixelAt(fraction)};
            if (above > m_baseline) {
                m_baseline = above;
                m_fullFraction = fraction;
            }
            below = std::max(below, end - baseline);
        }
        m_height = m_baseline + below;
        for (Window &window : m_windows)
            window.first += m_baseline;
    }

    /// From one column to the next.
    [[nodiscard]] int ColumnParts() const { return m_columnParts; }
    /// At how many parts of a device pixel a column or a row can start.
    [[nodiscard]] int Fractions() const
    {
        return FractionAt(m_partsPerPixel) == 0 ? 1 : kPixelParts;
    }
    /// Of a cell that starts at the fraction.
    [[nodiscard]] int Width(int fractionX) const
    {
        return PixelAt(fractionX + m_columnParts) - PixelAt(fractionX);
    }
    [[nodiscard]] int Height() const { return m_height; }
    [[nodiscard]] Window WindowOf(int fractionY) const { return m_windows[std::size_t(fractionY)]; }
    /// The fraction of a row that shows pictures from their first line on.
    [[nodiscard]] int FullFraction() const { return m_fullFraction; }

    /// Where a row begins, in parts from a picture's upper edge, whose baseline is the pictures'.
    /// Not above minus one device pixel.
    [[nodiscard]] int RowTop(int fractionY) const
    {
        return fractionY + kPixelParts * (m_baseline - PixelAt(fractionY + m_ascentParts));
    }
    /// Where a row begins, 0 to kPixelParts - 1, of which the column starts at the fraction.
    [[nodiscard]] int RowStart(int column, int fractionX) const
    {
        return FractionAt(fractionX - column * m_columnParts);
    }

private:
    int m_partsPerPixel = kPixelParts;
    int m_columnParts = kPixelParts;
    int m_ascentParts = 0;
    int m_baseline = 0; // below a picture's upper edge
    int m_height = 1;
    int m_fullFraction = 0;
    std::array<Window, kPixelParts> m_windows{}; // by the row's fraction
};
