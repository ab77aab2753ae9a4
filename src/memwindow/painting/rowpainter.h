#pragma once

#include "glyphcells.h"
#include "plainrowpainter.h"

#include <QImage>

#include <array>
#include <cstdint>

class QPainter;

/// Brings composed rows to the screen.
///
/// A row looks as PlainRowPainter draws it. On a raster image the same pixels are copied from
/// ready-made cells at a fraction of the cost; elsewhere (a printer, a recording) rows are drawn as
/// text, which such devices can use.
class RowPainter {
public:
    /// @param font  advances by exactly characterWidthPx
    void SetFont(const QFont &font, int characterWidthPx, int lineHeightPx);
    void SetColours(const RowColours &colours);
    void SetLeftMargin(int leftMarginPx) { m_plain.SetLeftMargin(leftMarginPx); }

    /// Starts a paint event: chooses the way for all its rows.
    void Begin(const QPainter &painter, int viewportWidthPx);
    void Draw(QPainter &painter, int row, const RowPicture &picture);

    /// Copies a cell of so many lines to an image with so many pixels a line.
    using CopyCell = void (*)(QRgb *to, const QRgb *from, qsizetype stride, int lines);

private:
    bool ChooseCopiers();
    bool ComposeStrip(const RowPicture &picture, RowOrigin origin);
    void StyleColumns(const RowPicture &picture, int columns);
    bool PrepareStrip(int columns, int firstColumnParts);
    void DrawStrip(QPainter &painter, int topParts) const;
    /// The first device pixel of a row and how many it has.
    [[nodiscard]] int RowLeft() const { return PixelAt(m_grid.originX); }
    [[nodiscard]] int RowWidth() const
    {
        return PixelAt(m_grid.PartsAtX(m_viewportWidthPx)) - RowLeft();
    }

    PlainRowPainter m_plain;
    GlyphCells m_cells;
    int m_viewportWidthPx = 0;
    DeviceGrid m_grid;
    bool m_useCells = false;
    std::array<CopyCell, kPixelParts> m_copiers{}; // by the fraction at which the cell starts
    // One row of the view in device pixels, from the left edge to the right, as high as the cells'
    // pictures. It keeps the last row's cells, so that only those which differ are copied.
    QImage m_strip;
    std::array<std::int32_t, kLineChars> m_stripPlaces{};
    int m_stripColumns = 0;
    int m_stripFirstParts = 0; // where the first column starts in it
    int m_stripGeneration = -1;
    std::array<std::int32_t, kLineChars> m_places{};
    std::array<CellStyle, kLineChars> m_styles{};
};
