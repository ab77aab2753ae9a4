#pragma once

#include "glyphcells.h"
#include "plainrowpainter.h"

#include <QImage>

#include <array>

class QPainter;

/// Brings composed rows to the screen.
///
/// A row looks as PlainRowPainter draws it. On a raster image the same pixels are copied from
/// ready-made cells at a fraction of the cost; elsewhere (a printer, a recording) rows are drawn
/// plainly, so that real text arrives there.
class RowPainter {
public:
    /// @param font  advances by exactly characterWidthPx
    void SetFont(const QFont &font, int characterWidthPx, int lineHeightPx);
    void SetColours(const RowColours &colours);
    void SetLeftMargin(int leftMarginPx) { m_plain.SetLeftMargin(leftMarginPx); }

    /// Starts a paint event: chooses the way for all its rows.
    void Begin(const QPainter &painter, int viewportWidthPx);
    void Draw(QPainter &painter, int row, const RowPicture &picture);

private:
    bool ComposeStrip(const RowPicture &picture);
    void StyleColumns(const RowPicture &picture, int columns);
    void DrawStrip(QPainter &painter, int topPx, int columns);

    PlainRowPainter m_plain;
    GlyphCells m_cells;
    int m_viewportWidthPx = 0;
    qreal m_scale = 1; // device pixels per pixel
    bool m_useCells = false;
    QImage m_strip; // one row of cells, in device pixels
    std::array<CellStyle, kLineChars> m_styles{};
};
