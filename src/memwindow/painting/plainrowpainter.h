#pragma once

#include "cellranges.h"
#include "linecomposer.h"

#include <QFont>
#include <QRgb>

#include <array>
#include <bitset>

class QPainter;
class QRect;

/// The colours of the view.
struct RowColours {
    QRgb base = 0; ///< background of a row
    QRgb text = 0;
    QRgb selection = 0;     ///< background of selected cells
    QRgb runBackground = 0; ///< background of changed bytes, drawn where it is not the base
    QRgb highlight = 0;     ///< background of the cursor's cells
    QRgb highlightedText = 0;
    bool operator==(const RowColours &) const = default;
};

/// Colour of changed bytes of age 1, 2 and 3.
inline constexpr std::array<QRgb, 3> kAgeColours = {0xFFFF0000, 0xFFAA0000, 0xFF770000};

/// Whether text of this colour is hard to see on the background. Changed bytes of such a colour
/// have it as their background, and are written and underlined in the colour of other text.
[[nodiscard]] bool IsHardToSee(QRgb text, QRgb background);

/// All that one row shows.
struct RowPicture {
    const ComposedLine &line;
    SelectedCells selection;
    int cursorHexColumn = -1; ///< the cursor's two cells; -1 when it is on another row
    int cursorTextColumn = -1;
    bool isCursorHollow = false; ///< a frame around each of them: keys go elsewhere
};

/// Draws rows through the text engine: all backgrounds, the line as one string with blanks for the
/// colour runs, each run in the place of its blanks, and the cursor's cells over it all. No
/// character is drawn in two colours, one over the other. Every other way to draw a row gives these
/// pixels.
class PlainRowPainter {
public:
    /// @param font  advances by exactly characterWidthPx
    /// @param lineHeightPx  less than 1 counts as 1, as for the width
    void SetFont(const QFont &font, int characterWidthPx, int lineHeightPx);
    void SetColours(const RowColours &colours);
    void SetLeftMargin(int leftMarginPx) { m_leftMarginPx = leftMarginPx; }
    /// Draws a row's backgrounds and ink this far beyond the row's lower edge, for a picture that
    /// is cut to its height afterwards.
    void SetRoomBelow(int roomPx) { m_roomBelowPx = roomPx; }

    [[nodiscard]] const QFont &Font() const { return m_font; }
    [[nodiscard]] int CharacterWidth() const { return m_widthPx; }
    [[nodiscard]] int LineHeight() const { return m_heightPx; }
    [[nodiscard]] int Ascent() const { return m_ascentPx; }
    [[nodiscard]] int LeftMargin() const { return m_leftMarginPx; }
    [[nodiscard]] const RowColours &Colours() const { return m_colours; }
    [[nodiscard]] int ColumnX(int column) const { return m_leftMarginPx + column * m_widthPx; }

    /// @param topPx, widthPx  where the row stands and how far its background reaches
    void Draw(QPainter &painter, int topPx, int widthPx, const RowPicture &picture);
    /// Whether changed bytes of this age (1 to 3) are underlined.
    [[nodiscard]] bool Underlines(std::uint8_t age) const { return m_isHardToSee[age - 1U]; }
    /// Whether the character, taken from a substitute font, is not as wide as the others.
    [[nodiscard]] bool LeavesGrid(char character);

private:
    [[nodiscard]] int FilledHeight() const { return m_heightPx + m_roomBelowPx; }
    void FillBackgrounds(
        QPainter &painter, int topPx, int widthPx, const RowPicture &picture) const;
    void DrawLine(QPainter &painter, int baselinePx, const ComposedLine &line);
    void DrawRun(
        QPainter &painter, int baselinePx, const ColourRun &run, const ComposedLine &line) const;
    void DrawUnderlines(QPainter &painter, int topPx, const ComposedLine &line) const;
    void DrawCursorCell(QPainter &painter, int topPx, int column, const RowPicture &picture) const;
    void DrawCursorFrame(QPainter &painter, const QRect &cell) const;

    QFont m_font;
    int m_widthPx = 1;
    int m_heightPx = 1;
    int m_ascentPx = 1;
    int m_leftMarginPx = 0;
    int m_roomBelowPx = 0;
    RowColours m_colours;
    std::array<bool, kAgeColours.size()> m_isHardToSee{};
    std::bitset<256> m_advanceKnown;
    std::bitset<256> m_leavesGrid;
};
