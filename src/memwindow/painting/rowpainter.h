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
    void PrepareStrip(int columns);
    [[nodiscard]] int StripLeft() const;
    void DrawStrip(QPainter &painter, int topPx);

    PlainRowPainter m_plain;
    GlyphCells m_cells;
    int m_viewportWidthPx = 0;
    qreal m_scale = 1; // device pixels per pixel
    bool m_useCells = false;
    // One row of the view in device pixels, from the left edge to the right. It keeps the last
    // row's cells, so that only those which differ are copied.
    QImage m_strip;
    std::array<std::int32_t, kLineChars> m_stripPlaces{};
    int m_stripColumns = 0;
    int m_stripGeneration = -1;
    std::array<std::int32_t, kLineChars> m_places{};
    std::array<CellStyle, kLineChars> m_styles{};
};
