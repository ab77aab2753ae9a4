#include "rowpainter.h"

#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <utility>

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
    m_plain.SetFont(font, characterWidthPx, lineHeightPx);
    m_cells.SetFont(font, characterWidthPx, lineHeightPx);
}

void RowPainter::SetColours(const RowColours &colours)
{
    if (colours == m_plain.Colours())
        return;
    m_plain.SetColours(colours);
    m_cells.SetColours(colours);
}

void RowPainter::Begin(const QPainter &painter, int viewportWidthPx)
{
    m_viewportWidthPx = viewportWidthPx;
    const QTransform transform = painter.deviceTransform();
    m_scale = UniformScale(transform);
    const qreal cellWidth = m_scale * m_plain.CharacterWidth();
    // Cells can be copied where every one of them starts and ends on a whole device pixel.
    m_useCells = painter.paintEngine()->type() == QPaintEngine::Raster && m_scale > 0
        && IsWhole(cellWidth) && cellWidth <= qreal(kMaxCellWidth)
        && IsWhole(m_scale * m_plain.LineHeight()) && IsWhole(transform.dy())
        && IsWhole(transform.dx() + m_scale * m_plain.LeftMargin());
    if (m_useCells)
        m_cells.SetScale(m_scale);
}

void RowPainter::Draw(QPainter &painter, int row, const RowPicture &picture)
{
    const int top = row * m_plain.LineHeight();
    if (m_useCells && ComposeStrip(picture))
        DrawStrip(painter, top, picture.line.length + 1);
    else
        m_plain.Draw(painter, top, m_viewportWidthPx, picture);
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
            styles[std::size_t(column)] |= kCellCursor;
    }
}

/// @return false when a character of the row has no cell
bool RowPainter::ComposeStrip(const RowPicture &picture)
{
    const int columns = picture.line.length + 1; // a blank catches the last character's ink
    const int cellWidth = m_cells.DeviceWidth();
    const int cellHeight = m_cells.DeviceHeight();
    // Left of the first column and right of the blank there is no cell.
    if (picture.cursorTextColumn >= columns || m_cells.ReachesLeft(picture.line.text[0]))
        return false;
    if (m_strip.width() < columns * cellWidth || m_strip.height() != cellHeight)
        m_strip = QImage(columns * cellWidth, cellHeight, QImage::Format_RGB32);
    StyleColumns(picture, columns);
    const auto text = std::span(picture.line.text).first(std::size_t(columns));
    const auto styles = std::span(m_styles).first(std::size_t(columns));
    auto *to = reinterpret_cast<QRgb *>(m_strip.bits());
    const qsizetype stride = m_strip.bytesPerLine() / qsizetype(sizeof(QRgb));
    const CopyCell copy = kCopiers[std::size_t(cellWidth)];
    for (std::size_t column = 0; column < text.size(); ++column, to += cellWidth) {
        const QRgb *cell = m_cells.Cell(text, styles, column);
        if (cell == nullptr)
            return false;
        copy(to, cell, stride, cellHeight);
    }
    return true;
}

void RowPainter::DrawStrip(QPainter &painter, int topPx, int columns)
{
    const int left = m_plain.LeftMargin();
    const int end = m_plain.ColumnX(columns);
    const int height = m_plain.LineHeight();
    const QColor base(m_plain.Colours().base);
    painter.fillRect(0, topPx, left, height, base);
    if (end < m_viewportWidthPx)
        painter.fillRect(end, topPx, m_viewportWidthPx - end, height, base);
    const QRect source(0, 0, columns * m_cells.DeviceWidth(), m_cells.DeviceHeight());
    if (m_scale == 1) {
        painter.drawImage(QPoint(left, topPx), m_strip, source);
        return;
    }
    // Pixel to pixel: the painter's own scale is taken out for the copy.
    const QTransform transform = painter.worldTransform();
    painter.scale(1 / m_scale, 1 / m_scale);
    painter.drawImage(QPointF(left * m_scale, topPx * m_scale), m_strip, source);
    painter.setWorldTransform(transform);
}
