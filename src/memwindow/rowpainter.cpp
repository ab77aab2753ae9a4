#include "rowpainter.h"

#include <QFontMetrics>
#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

bool IsWhole(qreal value)
{
    return value == std::floor(value);
}

/// Device pixels per pixel of a painter that scales both directions alike; 0 for any other.
qreal UniformScale(const QTransform &transform)
{
    const bool uniform
        = transform.type() <= QTransform::TxScale && transform.m11() == transform.m22();
    return uniform && transform.m11() > 0 ? transform.m11() : 0;
}

/// Widths up to this one are copied by code made for them.
constexpr std::size_t kMaxCellWidth = 32;
using CopyCell = void (*)(QRgb *, const QRgb *, qsizetype, int);

template <std::size_t Width> void CopyCellOf(QRgb *to, const QRgb *from, qsizetype stride, int rows)
{
    for (int y = 0; y < rows; ++y, to += stride, from += Width)
        std::memcpy(to, from, Width * sizeof(QRgb));
}

template <std::size_t... Widths>
constexpr std::array<CopyCell, sizeof...(Widths)> CopiersFor(std::index_sequence<Widths...>)
{
    return {CopyCellOf<Widths>...};
}

constexpr auto kCopiers = CopiersFor(std::make_index_sequence<kMaxCellWidth + 1>());

} // namespace

void RowPainter::SetFont(const QFont &font, int characterWidthPx, int lineHeightPx)
{
    m_font = font;
    m_widthPx = characterWidthPx;
    m_heightPx = lineHeightPx;
    m_ascentPx = QFontMetrics(font).ascent();
    m_advanceKnown.reset();
    m_cells.SetFont(font, m_widthPx, m_heightPx, m_ascentPx);
}

void RowPainter::SetColours(const RowColours &colours)
{
    m_colours = colours;
    m_cells.SetColours(colours);
    for (std::size_t age = 0; age < kAgeColours.size(); ++age)
        m_underlined[age] = NeedsUnderline(kAgeColours[age], colours.base);
}

void RowPainter::Begin(const QPainter &painter, int viewportWidthPx)
{
    m_viewportWidthPx = viewportWidthPx;
    const QTransform transform = painter.deviceTransform();
    m_scale = UniformScale(transform);
    // Cells can be copied where every one of them starts and ends on a whole device pixel.
    m_useCells = painter.paintEngine()->type() == QPaintEngine::Raster && m_scale > 0
        && IsWhole(m_scale * m_widthPx) && IsWhole(m_scale * m_heightPx)
        && IsWhole(transform.dx() + m_scale * m_leftMarginPx) && IsWhole(transform.dy())
        && m_scale * m_widthPx <= qreal(kMaxCellWidth);
    if (m_useCells)
        m_cells.SetScale(m_scale);
}

void RowPainter::Draw(QPainter &painter, int row, const RowPicture &picture)
{
    if (m_useCells && ComposeStrip(picture))
        DrawStrip(painter, row, picture.line.length);
    else
        DrawPlain(painter, row, picture);
}

void RowPainter::StyleColumns(const RowPicture &picture, int columns)
{
    const auto styles = std::span(m_styles).first(std::size_t(columns));
    std::fill(styles.begin(), styles.end(), kCellPlain);
    const auto columnsOf = [&](int first, int count) {
        first = std::min(first, columns);
        return styles.subspan(std::size_t(first), std::size_t(std::min(count, columns - first)));
    };
    for (const CellRange &range : picture.selection.Ranges()) {
        for (CellStyle &style : columnsOf(range.first, range.count))
            style = kCellSelected;
    }
    for (const ColourRun &run : picture.line.Runs()) {
        for (CellStyle &style : columnsOf(run.start, run.length))
            style = CellStyle(style + kCellFirstAge * run.age);
    }
    for (const int column : {picture.cursorHexColumn, picture.cursorTextColumn}) {
        if (column >= 0 && column < columns)
            styles[std::size_t(column)] = kCellCursor;
    }
}

/// @return false when a character of the row has no cell
bool RowPainter::ComposeStrip(const RowPicture &picture)
{
    const int columns = picture.line.length;
    const int cellWidth = m_cells.DeviceWidth();
    const int cellHeight = m_cells.DeviceHeight();
    // A cursor or selection beyond the text has no character to copy.
    if (columns == 0 || picture.cursorTextColumn >= columns)
        return false;
    if (m_strip.width() < columns * cellWidth || m_strip.height() != cellHeight)
        m_strip = QImage(columns * cellWidth, cellHeight, QImage::Format_RGB32);
    StyleColumns(picture, columns);
    auto *to = reinterpret_cast<QRgb *>(m_strip.bits());
    const qsizetype stride = m_strip.bytesPerLine() / qsizetype(sizeof(QRgb));
    const CopyCell copy = kCopiers[std::size_t(cellWidth)];
    for (std::size_t column = 0; column < std::size_t(columns); ++column, to += cellWidth) {
        const QRgb *cell = m_cells.Cell(m_styles[column], picture.line.text[column]);
        if (cell == nullptr)
            return false;
        copy(to, cell, stride, cellHeight);
    }
    return true;
}

void RowPainter::DrawStrip(QPainter &painter, int row, int columns)
{
    const int top = row * m_heightPx;
    const int end = ColumnX(columns);
    const QColor base(m_colours.base);
    painter.fillRect(0, top, m_leftMarginPx, m_heightPx, base);
    if (end < m_viewportWidthPx)
        painter.fillRect(end, top, m_viewportWidthPx - end, m_heightPx, base);
    const QRect source(0, 0, columns * m_cells.DeviceWidth(), m_cells.DeviceHeight());
    if (m_scale == 1) {
        painter.drawImage(QPoint(m_leftMarginPx, top), m_strip, source);
        return;
    }
    // Pixel to pixel: the painter's own scale is taken out for the copy.
    const QTransform transform = painter.worldTransform();
    painter.scale(1 / m_scale, 1 / m_scale);
    painter.drawImage(QPointF(m_leftMarginPx * m_scale, top * m_scale), m_strip, source);
    painter.setWorldTransform(transform);
}

void RowPainter::DrawPlain(QPainter &painter, int row, const RowPicture &picture)
{
    const int top = row * m_heightPx;
    const bool clips = painter.paintEngine()->type() == QPaintEngine::Raster;
    if (clips) { // ink that leaves its row would outlive the row's next paint
        painter.save();
        painter.setClipRect(0, top, m_viewportWidthPx, m_heightPx, Qt::IntersectClip);
    }
    painter.fillRect(0, top, m_viewportWidthPx, m_heightPx, QColor(m_colours.base));
    for (const CellRange &range : picture.selection.Ranges()) {
        painter.fillRect(ColumnX(range.first), top, range.count * m_widthPx, m_heightPx,
            QColor(m_colours.selection));
    }
    DrawLine(painter, top + m_ascentPx, picture.line);
    DrawRuns(painter, top, picture);
    DrawCursorCell(painter, top, picture.cursorHexColumn, picture.line);
    DrawCursorCell(painter, top, picture.cursorTextColumn, picture.line);
    if (clips)
        painter.restore();
}

/// The line as one string. Only where a substitute font's character would push the rest off the
/// grid is it drawn in pieces.
void RowPainter::DrawLine(QPainter &painter, int baselinePx, const ComposedLine &line)
{
    painter.setPen(QColor(m_colours.text));
    const auto drawPart = [&](int first, int end) {
        if (first < end) {
            painter.drawText(QPointF(ColumnX(first), baselinePx),
                QString::fromLatin1(line.text.data() + first, end - first));
        }
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

void RowPainter::DrawRuns(QPainter &painter, int topPx, const RowPicture &picture)
{
    for (const ColourRun &run : picture.line.Runs()) {
        const std::size_t age = run.age - 1U;
        const QRect box(ColumnX(run.start), topPx, run.length * m_widthPx, m_heightPx);
        if (m_colours.runBackground != m_colours.base)
            painter.fillRect(box, QColor(m_colours.runBackground));
        if (run.start + run.length >= kLineChars)
            continue;
        painter.setPen(QColor(kAgeColours[age]));
        painter.drawText(QPointF(box.left(), topPx + m_ascentPx),
            QString::fromLatin1(picture.line.text.data() + run.start, run.length));
        if (m_underlined[age])
            painter.fillRect(m_cells.UnderlineOf(box), QColor(kAgeColours[age]));
    }
}

void RowPainter::DrawCursorCell(QPainter &painter, int topPx, int column, const ComposedLine &line)
{
    if (column < 0)
        return;
    painter.fillRect(ColumnX(column), topPx, m_widthPx, m_heightPx, QColor(m_colours.highlight));
    if (column >= line.length)
        return;
    painter.setPen(QColor(m_colours.highlightedText));
    painter.drawText(QPointF(ColumnX(column), topPx + m_ascentPx),
        QString(QLatin1Char{line.text[std::size_t(column)]}));
}

/// Looked up once for each character, since measuring is slow.
bool RowPainter::LeavesGrid(char character)
{
    const auto index = static_cast<unsigned char>(character);
    if (!m_advanceKnown[index]) {
        const QString text(QLatin1Char{character});
        m_leavesGrid[index] = QFontMetricsF(m_font).horizontalAdvance(text) != m_widthPx;
        m_advanceKnown[index] = true;
    }
    return m_leavesGrid[index];
}
