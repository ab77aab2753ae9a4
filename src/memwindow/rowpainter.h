#pragma once

#include "glyphcells.h"
#include "linecomposer.h"
#include "selection.h"

#include <QFont>
#include <QImage>

#include <array>
#include <bitset>

class QPainter;

/// All that one row shows.
struct RowPicture {
    const ComposedLine &line;
    SelectedCells selection;
    int cursorHexColumn = -1; ///< the cursor's two cells; -1 when it is on another row
    int cursorTextColumn = -1;
};

/// Brings composed rows to the screen: background, selection, text, colour runs, cursor.
///
/// What a row looks like is fixed by DrawPlain, which calls the text engine for the whole line,
/// for each run and for each cursor cell. On a raster image Draw copies ready-made cells instead,
/// which gives the same pixels at a fraction of the cost; elsewhere (a printer, a recording) it
/// draws plainly, so that real text arrives there.
class RowPainter {
public:
    /// @param font  advances by exactly characterWidthPx
    void SetFont(const QFont &font, int characterWidthPx, int lineHeightPx);
    void SetColours(const RowColours &colours);
    void SetLeftMargin(int leftMarginPx) { m_leftMarginPx = leftMarginPx; }

    /// Starts a paint event: chooses the way for all its rows.
    void Begin(const QPainter &painter, int viewportWidthPx);
    void Draw(QPainter &painter, int row, const RowPicture &picture);
    /// The reference: the same row through the text engine alone.
    void DrawPlain(QPainter &painter, int row, const RowPicture &picture);

private:
    bool ComposeStrip(const RowPicture &picture);
    void StyleColumns(const RowPicture &picture, int columns);
    void DrawStrip(QPainter &painter, int row, int columns);
    void DrawLine(QPainter &painter, int baselinePx, const ComposedLine &line);
    void DrawRuns(QPainter &painter, int topPx, const RowPicture &picture);
    void DrawCursorCell(QPainter &painter, int topPx, int column, const ComposedLine &line);
    [[nodiscard]] bool LeavesGrid(char character);
    [[nodiscard]] int ColumnX(int column) const { return m_leftMarginPx + column * m_widthPx; }

    QFont m_font;
    int m_widthPx = 1;
    int m_heightPx = 1;
    int m_ascentPx = 1;
    int m_leftMarginPx = 0;
    int m_viewportWidthPx = 0;
    RowColours m_colours;
    std::array<bool, kAgeColours.size()> m_underlined{};
    std::bitset<256> m_advanceKnown;
    std::bitset<256> m_leavesGrid;

    bool m_useCells = false;
    qreal m_scale = 1;
    GlyphCells m_cells;
    QImage m_strip; // one row of cells, in device pixels
    std::array<CellStyle, kLineChars> m_styles{};
};
