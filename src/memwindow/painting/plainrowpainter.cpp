#include "plainrowpainter.h"

#include <QColor>
#include <QFontMetricsF>
#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// Relative luminance of an sRGB colour, 0 to 1.
double Luminance(QRgb colour)
{
    constexpr auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour))
        + 0.0722 * linear(qBlue(colour));
}

QString TextOf(const ComposedLine &line, int first, int count)
{
    return QString::fromLatin1(line.text.data() + first, count);
}

bool IsInLine(const ColourRun &run, const ComposedLine &line)
{
    return run.start + run.length <= line.length;
}

/// The line with blanks where colour runs are drawn. A thin digit drawn twice, in one colour over
/// another, has edges of both: a 0 would look like an 8.
QString TextWithoutRuns(const ComposedLine &line)
{
    QString text = TextOf(line, 0, line.length);
    for (const ColourRun &run : line.Runs()) {
        if (IsInLine(run, line))
            std::fill_n(text.begin() + run.start, run.length, u' ');
    }
    return text;
}

} // namespace

bool IsHardToSee(QRgb text, QRgb background)
{
    constexpr double kReadableContrast = 3.0;
    const auto [darker, lighter] = std::minmax({Luminance(text), Luminance(background)});
    return (lighter + 0.05) / (darker + 0.05) < kReadableContrast;
}

void PlainRowPainter::SetFont(const QFont &font, int characterWidthPx, int lineHeightPx)
{
    m_font = font;
    m_widthPx = std::max(characterWidthPx, 1);
    m_heightPx = std::max(lineHeightPx, 1);
    m_ascentPx = QFontMetrics(font).ascent();
    m_advanceKnown.reset();
}

void PlainRowPainter::SetColours(const RowColours &colours)
{
    m_colours = colours;
    for (std::size_t age = 0; age < kAgeColours.size(); ++age)
        m_isHardToSee[age] = IsHardToSee(kAgeColours[age], colours.base);
}

void PlainRowPainter::Draw(QPainter &painter, int topPx, int widthPx, const RowPicture &picture)
{
    const bool clips = painter.paintEngine()->type() == QPaintEngine::Raster;
    if (clips) { // ink outside the row would stay when the row alone is painted anew
        painter.save();
        painter.setClipRect(0, topPx, widthPx, FilledHeight(), Qt::IntersectClip);
    }
    FillBackgrounds(painter, topPx, widthPx, picture);
    DrawLine(painter, topPx + m_ascentPx, picture.line);
    for (const ColourRun &run : picture.line.Runs())
        DrawRun(painter, topPx + m_ascentPx, run, picture.line);
    DrawUnderlines(painter, topPx, picture.line);
    DrawCursorCell(painter, topPx, picture.cursorHexColumn, picture);
    DrawCursorCell(painter, topPx, picture.cursorTextColumn, picture);
    if (clips)
        painter.restore();
}

/// Comes before all ink, since a character's ink may reach into its neighbour's cell.
void PlainRowPainter::FillBackgrounds(
    QPainter &painter, int topPx, int widthPx, const RowPicture &picture) const
{
    painter.fillRect(0, topPx, widthPx, FilledHeight(), QColor(m_colours.base));
    const auto fill = [&](int column, int count, QRgb colour) {
        painter.fillRect(ColumnX(column), topPx, count * m_widthPx, FilledHeight(), QColor(colour));
    };
    for (const CellRange &range : picture.selection.Ranges())
        fill(range.first, range.count, m_colours.selection);
    for (const ColourRun &run : picture.line.Runs()) {
        if (Underlines(run.age))
            fill(run.start, run.length, kAgeColours[run.age - 1U]);
        else if (m_colours.runBackground != m_colours.base)
            fill(run.start, run.length, m_colours.runBackground);
    }
}

/// Draws the line as one string, or in pieces where a character of a substitute font would push the
/// rest off the grid.
void PlainRowPainter::DrawLine(QPainter &painter, int baselinePx, const ComposedLine &line)
{
    painter.setPen(QColor(m_colours.text));
    const QString text = TextWithoutRuns(line);
    const auto drawPart = [&](int first, int end) {
        if (first < end)
            painter.drawText(QPointF(ColumnX(first), baselinePx), text.mid(first, end - first));
    };
    int first = 0;
    for (int column = 0; column < line.length; ++column) {
        if (LeavesGrid(line.text[std::size_t(column)])) {
            drawPart(first, column + 1);
            first = column + 1;
        }
    }
    drawPart(first, line.length);
}

void PlainRowPainter::DrawRun(
    QPainter &painter, int baselinePx, const ColourRun &run, const ComposedLine &line) const
{
    if (!IsInLine(run, line))
        return;
    painter.setPen(QColor(Underlines(run.age) ? m_colours.text : kAgeColours[run.age - 1U]));
    painter.drawText(QPointF(ColumnX(run.start), baselinePx), TextOf(line, run.start, run.length));
}

/// Comes after all ink, since a character's ink may reach into its neighbour's cell.
void PlainRowPainter::DrawUnderlines(QPainter &painter, int topPx, const ComposedLine &line) const
{
    const int y = topPx + std::min(m_ascentPx + 1, m_heightPx - 1);
    for (const ColourRun &run : line.Runs()) {
        if (Underlines(run.age) && IsInLine(run, line))
            painter.fillRect(
                ColumnX(run.start), y, run.length * m_widthPx, 1, QColor(m_colours.text));
    }
}

void PlainRowPainter::DrawCursorCell(
    QPainter &painter, int topPx, int column, const RowPicture &picture) const
{
    if (column < 0)
        return;
    if (picture.isCursorHollow)
        return DrawCursorFrame(painter, QRect(ColumnX(column), topPx, m_widthPx, m_heightPx));
    painter.fillRect(
        ColumnX(column), topPx, m_widthPx, FilledHeight(), QColor(m_colours.highlight));
    if (column >= picture.line.length)
        return;
    painter.setPen(QColor(m_colours.highlightedText));
    painter.drawText(QPointF(ColumnX(column), topPx + m_ascentPx), TextOf(picture.line, column, 1));
}

/// Fills edge by edge, since the engine rounds a pen's edges differently at fractional scales.
void PlainRowPainter::DrawCursorFrame(QPainter &painter, const QRect &cell) const
{
    const QColor colour(m_colours.highlight);
    painter.fillRect(cell.left(), cell.top(), cell.width(), 1, colour);
    painter.fillRect(cell.left(), cell.bottom(), cell.width(), 1, colour);
    painter.fillRect(cell.left(), cell.top(), 1, cell.height(), colour);
    painter.fillRect(cell.right(), cell.top(), 1, cell.height(), colour);
}

/// Looked up once for each character, since measuring is slow.
bool PlainRowPainter::LeavesGrid(char character)
{
    const auto index = static_cast<unsigned char>(character);
    if (!m_advanceKnown[index]) {
        const QString text(QLatin1Char{character});
        m_leavesGrid[index] = QFontMetricsF(m_font).horizontalAdvance(text) != m_widthPx;
        m_advanceKnown[index] = true;
    }
    return m_leavesGrid[index];
}
